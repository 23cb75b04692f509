// Runs the verbs of scripts/sim, which control a board.
#include "sim_command.h"

#include "soup_owned.h"

#include <memory>
#include <string_view>

namespace web {
namespace {

// Returns the last line, the error message, without the program's name.
std::string complaint(std::string_view said) {
    said = said.substr(0, said.find_last_not_of('\n') + 1);
    said = said.substr(said.rfind('\n') + 1);
    const std::size_t colon = said.find(": ");
    return std::string(colon == std::string_view::npos ? said : said.substr(colon + 2));
}

void on_ended(GObject* process, GAsyncResult* result, gpointer data) noexcept {
    const std::unique_ptr<response_callback> respond(static_cast<response_callback*>(data));
    gchar* said = nullptr;
    GError* failed = nullptr;
    auto* const ended = G_SUBPROCESS(process);
    g_subprocess_communicate_utf8_finish(ended, result, nullptr, &said, &failed);
    const g_text words(said);
    const g_error_owned error(failed);
    const bool is_done = error == nullptr && g_subprocess_get_successful(ended) != FALSE;
    (*respond)(is_done, error ? error->message : complaint(said != nullptr ? said : ""));
}

} // namespace

void sim_command::run(const std::vector<std::string>& words, response_callback respond) const {
    std::vector<const gchar*> arguments{program_.c_str(), "--board", board_.c_str()};
    for (const std::string& word : words) {
        arguments.push_back(word.c_str());
    }
    arguments.push_back(nullptr);
    GError* failed = nullptr;
    const auto flags = static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDERR_PIPE |
                                                     G_SUBPROCESS_FLAGS_STDOUT_SILENCE);
    const soup_owned<GSubprocess> process(g_subprocess_newv(arguments.data(), flags, &failed));
    if (!process) {
        const g_error_owned error(failed);
        respond(false, error->message);
        return;
    }
    g_subprocess_communicate_utf8_async(
        process.get(), nullptr, nullptr, on_ended,
        std::make_unique<response_callback>(std::move(respond)).release());
}

} // namespace web
