// The pages' connections for state, lists, log and acts: JSON texts in both directions.
#pragma once

#include "acts.h"
#include "loop.h"
#include "soup_owned.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace web {

class page_events {
public:
    // `greet` gives what a new page is told first. `on_audience` is told when the first page comes
    // and when the last one goes. `perform` does what a page asks for.
    struct listener {
        std::function<std::vector<nlohmann::json>()> greet;
        std::function<void(bool has_pages)> on_audience;
        std::function<void(const nlohmann::json& message, const act_end& on_end)> perform;
    };

    explicit page_events(listener told) : told_(std::move(told)) {}
    page_events(const page_events&) = delete;
    page_events& operator=(const page_events&) = delete;
    ~page_events();

    // Serves this page until its connection closes.
    void add(SoupWebsocketConnection* page);

    [[nodiscard]] bool has_pages() const { return !pages_.empty(); }

    // Tells all pages. One that doesn't read is left out, and greeted anew when it does again: what
    // waits for it must not fill the memory.
    void tell(const nlohmann::json& message);

private:
    using page_owner = std::shared_ptr<SoupWebsocketConnection>;

    struct audience {
        page_owner connection;
        bool is_behind = false;
    };

    static void on_message(SoupWebsocketConnection* page, int type, GBytes* text,
                           gpointer self) noexcept;
    static void on_closed(SoupWebsocketConnection* page, gpointer self) noexcept;
    void take(const page_owner& page, const nlohmann::json& message);
    void greet(SoupWebsocketConnection* page) const;
    void catch_up();

    const listener told_;
    std::vector<audience> pages_;
    timer catch_up_;
};

} // namespace web
