// Builds a pipe from its row: its elements, their properties, what they are linked to.
#pragma once

#include "util/gst_owned.h"
#include "video/pipe_table.h"
#include "video/registry.h"

// Starts a pipe: one that exists is returned as it is, else it is built and set playing. The
// descriptor is -1 when it can't be made; a missing element or a link that fails is fatal.
[[nodiscard]] bus_handle start_pipe(int pipe, const start_arguments& arguments = {});

// The first static template of the element's factory with that direction and presence and, when
// `name` is not null, exactly that name template; none when nothing matches.
[[nodiscard]] gst_owned<GstPadTemplate> get_pad_template(GstElement* element,
                                                         GstPadDirection direction,
                                                         GstPadPresence presence, const char* name);
