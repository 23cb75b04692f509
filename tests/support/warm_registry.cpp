// Makes the registry of plug-ins that GST_REGISTRY names, and checks that the stand-ins are in it.
#include <cstdio>
#include <gst/gst.h>

int main() {
    gst_init(nullptr, nullptr);
    GstElementFactory* const factory = gst_element_factory_find("qtoverlay");
    if (factory == nullptr) {
        std::fputs("the stand-ins were not found\n", stderr);
        return 1;
    }
    gst_object_unref(factory);
    return 0;
}
