// Builds a pipe from its row: elements, properties, links.
#pragma once

#include "util/gst_owned.h"
#include "video/pipe_table.h"
#include "video/registry.h"

// Builds a pipe and sets it playing, or returns the existing one unchanged. The descriptor is -1 on
// failure; a missing element or a failing link is fatal.
[[nodiscard]] bus_handle start_pipe(int pipe, const start_arguments& arguments = {});

// Returns the first static template of the element's factory with that direction and presence and,
// unless null, that name template; none if nothing matches.
[[nodiscard]] gst_owned<GstPadTemplate> get_pad_template(GstElement* element,
                                                         GstPadDirection direction,
                                                         GstPadPresence presence, const char* name);
