// Finding an element's pad template, for requesting pads.
#include "video/pad_template.h"

#include <cstring>

gst_owned<GstPadTemplate> get_pad_template(GstElement* element, GstPadDirection direction,
                                           GstPadPresence presence, const char* name) {
    GstElementFactory* const factory = gst_element_get_factory(element);
    if (factory == nullptr) {
        return nullptr;
    }
    for (const GList* node = gst_element_factory_get_static_pad_templates(factory); node != nullptr;
         node = node->next) {
        auto* const candidate = static_cast<GstStaticPadTemplate*>(node->data);
        if (candidate->direction == direction && candidate->presence == presence &&
            (name == nullptr || std::strcmp(candidate->name_template, name) == 0)) {
            return own_floating(gst_static_pad_template_get(candidate));
        }
    }
    return nullptr;
}
