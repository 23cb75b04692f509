// Makes the registry of plug-ins that boards start from, and checks that the stand-ins are in it.
#include "support/stand_ins.h"

#include <cstdio>

int main() {
    init_with_stand_ins();
    GstElementFactory* const factory = gst_element_factory_find("qtoverlay");
    if (factory == nullptr) {
        std::fputs("the stand-ins were not found\n", stderr);
        return 1;
    }
    gst_object_unref(factory);
    return 0;
}
