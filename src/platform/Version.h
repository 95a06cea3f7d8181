#pragma once

// The program's version: major, minor and revision, from the project's
// version in the top CMakeLists.txt, defined nowhere else.
namespace platform {

struct ProgramVersion {
    int major;
    int minor;
    int revision;
};

constexpr ProgramVersion programVersion() {
    return {TOVALIN_VERSION_MAJOR, TOVALIN_VERSION_MINOR, TOVALIN_VERSION_PATCH};
}

} // namespace platform
