// Finding an element's pad template, for requesting pads.
#pragma once

#include "video/gst_owned.h"

// The first static template of the element's factory with that direction and presence and, when
// `name` is not null, exactly that name template; none when nothing matches.
[[nodiscard]] gst_owned<GstPadTemplate> get_pad_template(GstElement* element,
                                                         GstPadDirection direction,
                                                         GstPadPresence presence, const char* name);
