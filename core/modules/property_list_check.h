// What must hold of a property list before libplist may read it.
//
// libplist (2.2 is the oldest in use) goes down nested lists by recursion without a bound, copies a shared object of
// a binary list each time it is referred to, and needs quadratic time for many keys in one dictionary or many
// entities in one text. It also takes text that is no number or no date for some number or date. So both forms are
// walked here first, in linear time, and only those with bounded cost and sound values are let through.
#pragma once

#include <optional>
#include <string_view>

namespace brindle {

struct ListTraits {
    // Holds an integer of more than 63 bits, which libplist does not tell from a negative one.
    bool hasHugeNumbers = false;
};

// Absent when the list must not be read: broken, nested too deep, too many values, too long when written out, too
// much work; a text with a zero byte or half a surrogate pair; a date that is no number.
std::optional<ListTraits> checkedBinaryList(std::string_view bytes);

// Absent as above. Of XML only what property lists consist of is let through, so that every reader sees the same
// marks in it: no DOCTYPE with a part of its own, no "<" or unpaired quote inside a tag, integers as C writes them
// (decimal or 0x) and dates as "2001-01-31T23:59:59Z", without comments or CDATA in between.
std::optional<ListTraits> checkedXmlList(std::string_view text);

}  // namespace brindle
