// The parameter sets of a recording's pictures: without them nothing can be decoded.
#pragma once

#include "recover/byte_window.h"
#include "recover/parameter_set_syntax.h"

#include <string>

class parameter_sets {
public:
    // Takes a parameter set, unless one of its kind and number is there. What is no sensible set is
    // passed over.
    void add(byte_view nal);

    // True when pictures can be decoded with them.
    [[nodiscard]] bool are_complete() const;

    // The sequence set that the picture set of that number refers to; none when one of them is
    // missing. Borrowed.
    [[nodiscard]] const sequence_set* sequence_of(std::uint32_t picture_set_id) const;

    // Width and height of the pictures; to be asked of complete sets only.
    [[nodiscard]] const sequence_set& first_sequence() const { return sequences_.front().values; }

    // The contents of a box "avcC", for lengths of four bytes.
    [[nodiscard]] std::vector<std::uint8_t> decoder_config() const;

private:
    template <class Values> struct kept_set {
        Values values;
        std::vector<std::uint8_t> nal;
    };

    std::vector<kept_set<sequence_set>> sequences_;
    std::vector<kept_set<picture_set>> pictures_;
};

// The sets in the contents of a box "avcC"; incomplete when it does not make sense.
[[nodiscard]] parameter_sets sets_of_config(byte_view config);

// The first complete sets in the stream; incomplete when there are none.
[[nodiscard]] parameter_sets find_sets_in_stream(byte_window& file, std::uint64_t start);
