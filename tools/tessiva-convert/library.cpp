#include "library.h"

#include <cstdio>
#include <cstdlib>

#include "system.h"

namespace tessiva::tool {

uint32_t LevelMask(int level) {
    // Extension bits: MMX 1, SSE 2, SSE2 4, SSE3 8, SSSE3 16, SSE4.1 32,
    // SSE4.2 64, AVX2 128. Each level keeps what it and the levels below use.
    switch (level) {
        case 0: return 0x00;
        case 1: return 0x01;
        case 2: return 0x03;
        case 3: return 0x1F;
        case 4: return 0x7F;
        default: return 0xFF;
    }
}

bool LevelCapAvailable(std::string* why) {
#if defined(_WIN32)
    *why = "--level is not available on Windows: an administrator caps the level with the registry value "
           "InstructionSet under HKLM\\SoftWare\\Brennix\\CpuDetect\\" + ProgramBaseName();
    return false;
#else
    (void)why;
    return true;
#endif
}

Library::~Library() {
    if (converter_) ReleaseTessiva(converter_);
    if (!capFile_.empty()) std::remove(capFile_.c_str());
}

bool Library::Load(int level, std::string* error) {
    // The tool converts host memory only: keep the OpenCL runtime unloaded
    // (faster start, no driver state left behind at exit) unless the user
    // says otherwise.
    if (!std::getenv("DetectOpenCL")) SetEnvironment("DetectOpenCL", "2");
    // The library picks its instruction-set level when the converter is
    // made, capped per program by the value InstructionSet under
    // HKLM\SoftWare\Brennix\CpuDetect\<program name>, which it reads on Linux
    // from the .reg file named by $BRENNIX_REGISTRY_FILE. --level writes such
    // a file holding only this program's cap and points the variable at it
    // for the run. On Windows that registry is the machine's own: no --level.
    if (level >= 0) {
        if (!LevelCapAvailable(error)) return false;
#if !defined(_WIN32)
        capFile_ = CreateTemporaryFile("tessiva-convert-level-", ".reg");
        std::FILE* f = capFile_.empty() ? nullptr : std::fopen(capFile_.c_str(), "wb");
        bool written = f && std::fprintf(f,
                                         "Windows Registry Editor Version 5.00\r\n\r\n"
                                         "[HKEY_LOCAL_MACHINE\\SoftWare\\Brennix\\CpuDetect\\%s]\r\n"
                                         "\"InstructionSet\"=dword:%08x\r\n",
                                         ProgramBaseName().c_str(), unsigned(LevelMask(level))) > 0;
        if (f) written = std::fclose(f) == 0 && written;
        if (!written || !SetEnvironment("BRENNIX_REGISTRY_FILE", capFile_.c_str())) {
            *error = "cannot write the settings file that caps the level";
            return false;
        }
#endif
    }
    converter_ = GetTessiva();
    if (!converter_) {
        *error = "GetTessiva returned no converter";
        return false;
    }
    return true;
}

}  // namespace tessiva::tool
