// The response to a request.
#pragma once

#include <functional>
#include <string>

namespace web {

// Responds to a request, now or later, once: whether it succeeded, and a text.
using response_callback = std::function<void(bool is_done, const std::string& text)>;

} // namespace web
