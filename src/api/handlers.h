// Handlers of the client commands, declared from the rows and defined by subject in handlers_*.cpp.
// See command_handler.
#pragma once

#include "api/api.h"

#define VTRDC_COMMAND(name, handler, takes, gives, help)                                           \
    int handler(request_arguments arguments, malloc_text& reply);
#include "api/command_list.inc"
#undef VTRDC_COMMAND
