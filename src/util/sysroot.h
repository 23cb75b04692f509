// The system root: a folder prepended to every absolute path.
#pragma once

#include <string>
#include <string_view>

// The environment variable with the system root, an absolute folder. If unset or empty, as on the
// sight itself, paths are used unchanged.
inline constexpr const char* SYSROOT_VARIABLE = "VTRDC_SYSROOT";

// False if the environment names a system root that is not an absolute folder. Nothing may be
// opened then, since that would reach into the machine's own files.
[[nodiscard]] bool sysroot_is_valid();

// Prepends the system root to an absolute `path`; returns a relative one unchanged. Call it where a
// path is opened, bound or passed on, not where it is stored or printed. Reads the environment
// once.
[[nodiscard]] std::string sysroot_path(std::string_view path);

// The inverse: the part of a sysroot_path result that is the path on the sight.
[[nodiscard]] const char* sysroot_stripped(const char* path);
