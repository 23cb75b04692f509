// Finding an element's pad template, for requesting pads.
#include "video/pad_template.h"

#include <cstring>

namespace {

// The factory's static templates don't tell the type of pad that the element makes; its class does,
// and an element that is asked by another template than its class's makes a pad of the wrong type.
gst_owned<GstPadTemplate> template_of_class(GstElement* element, const char* name) {
    GstPadTemplate* const found =
        gst_element_class_get_pad_template(GST_ELEMENT_GET_CLASS(element), name);
    return own_floating(found);
}

} // namespace

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
            return template_of_class(element, candidate->name_template);
        }
    }
    return nullptr;
}
