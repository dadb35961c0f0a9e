// A module that carries a product version (9.8.7.6), for the cache-folder tests.
#if defined(_WIN32)
extern "C" __declspec(dllexport) int DravikMarker() { return 1; }
#else
extern "C" __attribute__((visibility("default"))) int DravikMarker() { return 1; }
#endif
