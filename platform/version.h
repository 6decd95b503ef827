// The version of all programs. CMakeLists.txt reads it here.
#pragma once

inline constexpr char kVersion[] = "0.16";
