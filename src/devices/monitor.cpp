// Tells whether an external monitor is plugged in.
#include "devices/monitor.h"

#include "util/files.h"

int is_hdmi_connected() {
    return is_file_created(HDMI_CABLE_STATE);
}
