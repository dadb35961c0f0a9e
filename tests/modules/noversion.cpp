// A module without any version information, for the cache-folder tests.
#if defined(_WIN32)
extern "C" __declspec(dllexport) int NoVersionMarker() { return 2; }
#else
extern "C" __attribute__((visibility("default"))) int NoVersionMarker() { return 2; }
#endif
