// Creates the plug-in registry that boards start from, and checks that it contains the stand-ins.
#include "support/stand_ins.h"
#include "util/gst_owned.h"

#include <cstdio>

int main() {
    init_with_stand_ins();
    const gst_owned<GstElementFactory> factory{gst_element_factory_find("qtoverlay")};
    if (!factory) {
        std::fputs("the stand-ins were not found\n", stderr);
        return 1;
    }
    return 0;
}
