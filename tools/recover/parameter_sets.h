// The parameter sets of a recording's pictures; decoding needs them.
#pragma once

#include "recover/byte_window.h"
#include "recover/parameter_set_syntax.h"

#include <string>

class parameter_sets {
public:
    // Adds a parameter set unless there is one of its kind and number. Ignores invalid sets.
    void add(byte_view nal);

    // True if pictures can be decoded with these sets.
    [[nodiscard]] bool are_complete() const;

    // Returns the sequence set to which that picture set refers, borrowed; null if either is
    // missing.
    [[nodiscard]] const sequence_set* sequence_of(std::uint32_t picture_set_id) const;

    // Width and height of the pictures; requires complete sets.
    [[nodiscard]] const sequence_set& first_sequence() const { return sequences_.front().values; }

    // Returns the contents of a box "avcC" for four-byte lengths.
    [[nodiscard]] std::vector<std::uint8_t> decoder_config() const;

private:
    template <class Values> struct kept_set {
        Values values;
        std::vector<std::uint8_t> nal;
    };

    std::vector<kept_set<sequence_set>> sequences_;
    std::vector<kept_set<picture_set>> pictures_;
};

// Parses the contents of a box "avcC"; incomplete if invalid.
[[nodiscard]] parameter_sets sets_of_config(byte_view config);

// Returns the first complete sets in the stream; incomplete if there are none.
[[nodiscard]] parameter_sets find_sets_in_stream(byte_window& file, std::uint64_t start);
