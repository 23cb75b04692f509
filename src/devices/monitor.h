// Tells whether an external monitor is plugged in.
#pragma once

// The HDMI driver's sysfs attribute; the file exists while a monitor is plugged in.
inline constexpr const char* HDMI_CABLE_STATE =
    "/sys/devices/soc0/soc/20e0000.hdmi_video/cable_state";

// Returns 1 while a monitor is plugged in, else 0.
[[nodiscard]] int is_hdmi_connected();
