// The one seam to the machine: a folder in front of every absolute path.
#pragma once

#include <string>
#include <string_view>

// Name of the environment variable that holds the system root, an absolute folder. Unset or
// empty, as on the sight itself, paths are used as they are written.
inline constexpr const char* SYSROOT_VARIABLE = "VTRDC_SYSROOT";

// False when the environment names a system root that is not an absolute folder: then nothing
// may be opened, since it would reach into the machine's own files.
[[nodiscard]] bool sysroot_is_valid();

// The path to use for `path`: with the system root in front when `path` is absolute, unchanged
// when it is relative. Called where a path is opened, bound or handed on, never where it is
// stored or printed. The environment is read once.
[[nodiscard]] std::string sysroot_path(std::string_view path);

// The other way: the path on the sight of a path that sysroot_path gave, within that text.
[[nodiscard]] const char* sysroot_stripped(const char* path);
