// The smallest useful Tessiva host: loads one RGB32 frame, converts it to YUY2
// and back through the version-1 interface, and prints what it did.
//
//   tessiva-host-example                       a 64x48 colour ramp of its own
//   tessiva-host-example FRAME WIDTH HEIGHT    a raw RGB32 frame (B, G, R, A per
//                                              pixel, rows packed), e.g. from
//   ffmpeg -i picture.png -f rawvideo -pix_fmt bgra frame.rgb32
#include <tessiva.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

bool LoadFrame(const char* path, int width, int height, std::vector<unsigned char>* rgb32) {
    rgb32->resize(std::size_t(width) * std::size_t(height) * 4);
    std::FILE* f = std::fopen(path, "rb");
    if (!f) return false;
    const bool whole = std::fread(rgb32->data(), 1, rgb32->size(), f) == rgb32->size();
    std::fclose(f);
    return whole;
}

void MakeFrame(int width, int height, std::vector<unsigned char>* rgb32) {
    rgb32->resize(std::size_t(width) * std::size_t(height) * 4);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            unsigned char* p = &(*rgb32)[(std::size_t(y) * width + x) * 4];
            p[0] = static_cast<unsigned char>(255 * x / width);   // B
            p[1] = static_cast<unsigned char>(255 * y / height);  // G
            p[2] = static_cast<unsigned char>(255 - p[0]);        // R
            p[3] = 255;                                           // A
        }
}

const char* Name(TessivaResult r) {
    switch (r) {
        case TESSIVA_S_OK: return "S_OK";
        case TESSIVA_E_FAIL: return "E_FAIL";
        case TESSIVA_E_NOTIMPL: return "E_NOTIMPL";
        default: return "another error";
    }
}

}  // namespace

int main(int argc, char** argv) {
    int width = 64, height = 48;
    std::vector<unsigned char> rgb32;
    if (argc == 4) {
        width = std::atoi(argv[2]);
        height = std::atoi(argv[3]);
        if (width < 2 || height < 1 || width % 2 != 0 || !LoadFrame(argv[1], width, height, &rgb32)) {
            std::fprintf(stderr, "cannot read a %sx%s RGB32 frame (even width) from %s\n", argv[2], argv[3], argv[1]);
            return 1;
        }
    } else if (argc == 1) {
        MakeFrame(width, height, &rgb32);
    } else {
        std::fprintf(stderr, "usage: %s [FRAME.rgb32 WIDTH HEIGHT]\n", argv[0]);
        return 2;
    }

    // One converter, made and destroyed by the library's own functions.
    ITessiva* tessiva = GetTessiva();
    if (!tessiva) {
        std::fprintf(stderr, "GetTessiva returned no converter\n");
        return 1;
    }
    // Images in host memory are five arguments: kind, pointer, width, height,
    // pitch in bytes. The queue (first argument) matters only to OpenCL memory.
    std::vector<unsigned char> yuy2(std::size_t(width) * height * 2), back(rgb32.size());
    const TessivaResult there = tessiva->RGB32toYUY2(nullptr, TESSIVA_MEMORY_HOST, rgb32.data(), width, height,
                                                     width * 4, TESSIVA_MEMORY_HOST, yuy2.data(), width, height,
                                                     width * 2);
    const TessivaResult back_again = tessiva->YUY2toRGB32(nullptr, TESSIVA_MEMORY_HOST, yuy2.data(), width, height,
                                                          width * 2, TESSIVA_MEMORY_HOST, back.data(), width,
                                                          height, width * 4);
    ReleaseTessiva(tessiva);

    std::printf("RGB32toYUY2 %dx%d: %s\n", width, height, Name(there));
    std::printf("YUY2toRGB32 %dx%d: %s\n", width, height, Name(back_again));
    if (there != TESSIVA_S_OK || back_again != TESSIVA_S_OK) return 1;
    std::printf("first pixel: B G R %d %d %d -> Y U Y V %d %d %d %d -> B G R %d %d %d\n", rgb32[0], rgb32[1],
                rgb32[2], yuy2[0], yuy2[1], yuy2[2], yuy2[3], back[0], back[1], back[2]);
    // Two pixels share one U, V pair, so colour detail is halved across.
    int worst = 0;
    for (std::size_t i = 0; i < rgb32.size(); ++i)
        if (i % 4 != 3) worst = std::max(worst, std::abs(int(rgb32[i]) - int(back[i])));
    std::printf("largest difference after the round trip: %d\n", worst);
    return 0;
}
