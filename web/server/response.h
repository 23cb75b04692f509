// What a request is answered with.
#pragma once

#include <functional>
#include <string>

namespace web {

// Answers a request, now or later, and once: whether it was carried out, and what there is to say.
using response_callback = std::function<void(bool is_done, const std::string& text)>;

} // namespace web
