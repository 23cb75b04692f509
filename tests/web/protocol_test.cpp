// Compares the control page's protocol document with the server's routes and requests.
#include "page_requests.h"
#include "routes.h"
#include "support/rows.h"
#include "support/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <vector>

namespace {

// Returns what the expression's group matches in the document, from that line on.
std::vector<std::string> all_in_document(const std::string& start, const char* expression) {
    const std::string document = read_text(VTRDC_PAGE_PROTOCOL);
    const std::string part = document.substr(document.find(start));
    const std::regex wanted{expression};
    std::vector<std::string> found;
    for (std::sregex_iterator each{part.begin(), part.end(), wanted}, end; each != end; ++each) {
        found.push_back(each->str(1));
    }
    return found;
}

TEST(PageProtocolTest, DescribesEachRoute) {
    std::vector<std::string> routes;
    for (const web::route& each : web::all_routes()) {
        routes.push_back(std::string(each.method) + " " + each.path + each.parameter);
    }
    EXPECT_EQ(rows_apart(routes, all_in_document("\n## Routes\n", "\n### `([A-Z]+ /[^`]*)`")), "");
}

TEST(PageProtocolTest, DescribesEachRequest) {
    std::vector<std::string> requests;
    for (const web::page_request& each : web::all_page_requests()) {
        requests.emplace_back(each.name);
    }
    EXPECT_EQ(
        rows_apart_in_order(requests, all_in_document("\n## Requests\n", "\n\\| `([^`]*)` \\|")),
        "");
}

} // namespace
