// Builds a pipe from its row in the pipe tables: elements, properties, links.
#pragma once

#include "util/gst_owned.h"
#include "video/pipe_table.h"
#include "video/registry.h"

// Builds a pipe and sets it playing; an existing pipe is left unchanged. Returns the pipe's bus,
// with descriptor -1 on failure. A missing element or a failing link is fatal.
[[nodiscard]] bus_handle start_pipe(int pipe, const start_arguments& arguments = {});

// Finds the first static template of the element's factory with that direction and presence and,
// unless `name` is null, that name template. Returns the template of that name from the element's
// class; none if nothing matches.
[[nodiscard]] gst_owned<GstPadTemplate> get_pad_template(GstElement* element,
                                                         GstPadDirection direction,
                                                         GstPadPresence presence, const char* name);
