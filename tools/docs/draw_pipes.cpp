// Draws the pipes and their connections, from their rows, as a Graphviz graph; scripts/docs makes
// pictures/pipes.svg of it.
#include "video/pipes.h"

#include <cstdio>
#include <string_view>
#include <variant>

namespace {

// Elements through which pictures and sound enter and leave.
struct outside {
    std::string_view factory;
    const char* label;
    bool is_source;
};

constexpr outside outsides[] = {
    {.factory = "imxv4l2videosrc", .label = "camera", .is_source = true},
    {.factory = "alsasrc", .label = "microphone", .is_source = true},
    {.factory = "filesrc", .label = "no-video-input.png", .is_source = true},
    {.factory = "imxipuvideosink", .label = "panel", .is_source = false},
    {.factory = "splitmuxsink", .label = "MP4 files", .is_source = false},
    {.factory = "tcpserversink", .label = "viewers", .is_source = false},
    {.factory = "curlhttpsink", .label = "server", .is_source = false},
};

constexpr const char* HEAD =
    "digraph pipes {\n"
    "    graph [rankdir=LR, bgcolor=white, fontname=\"DejaVu Sans\", fontsize=11, nodesep=0.25, "
    "ranksep=0.55]\n"
    "    node [fontname=\"DejaVu Sans\", fontsize=11, margin=\"0.14,0.08\"]\n"
    "    edge [fontname=\"DejaVu Sans\", fontsize=9, color=\"#3b5b7a\", arrowsize=0.7]\n";

const char* colors(const pipe_row& row) {
    if (is_output(row)) {
        return "fillcolor=\"#fbf0dd\", color=\"#8a5a12\"";
    }
    return is_branch(row) ? "fillcolor=\"#eef3f8\", color=\"#3b5b7a\""
                          : "fillcolor=\"#e4f1e4\", color=\"#2f6b3a\"";
}

void draw_outside(const pipe_row& row, const outside& end) {
    std::printf("    \"%s\" [shape=plaintext]\n", end.label);
    if (end.is_source) {
        std::printf("    \"%s\" -> %d\n", end.label, row.number);
    } else {
        std::printf("    %d -> \"%s\"\n", row.number, end.label);
    }
}

void draw_outsides(const pipe_row& row) {
    for (const element_row& element : row.chain.elements) {
        for (const outside& end : outsides) {
            if (end.factory == element.factory) {
                draw_outside(row, end);
            }
        }
    }
}

// Returns the pipe that publishes under that name.
const pipe_row* publisher(std::string_view name) {
    for (const pipe_row& row : pipe_rows()) {
        if (has_element(row.chain, name)) {
            return &row;
        }
    }
    return nullptr;
}

void draw_inputs(const pipe_row& row, const element_chain& chain) {
    for (const property_row& property : chain.properties) {
        if (std::string_view{property.property} != "listen-to") {
            continue;
        }
        const char* const name = std::get<const char*>(property.value);
        if (const pipe_row* const from = publisher(name)) {
            std::printf("    %d -> %d [label=\"%s\"]\n", from->number, row.number, name);
        }
    }
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): a property of the wrong type may end a generator.
int main() {
    std::fputs(HEAD, stdout);
    for (const pipe_row& row : pipe_rows()) {
        std::printf("    %d [label=\"%d %s\\n%s\", shape=box, style=\"rounded,filled\", %s]\n",
                    row.number, row.number, row.short_name, row.purpose, colors(row));
        draw_outsides(row);
        draw_inputs(row, row.chain);
        for (const muxer_input& input : row.inputs) {
            draw_inputs(row, input.chain);
        }
    }
    std::puts("}");
}
