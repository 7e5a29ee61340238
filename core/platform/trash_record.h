// What the desktops' Trash on Linux writes down: names, information files, the file of sizes. Text only.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace brindle {

// Behind the name of an information file.
inline constexpr std::string_view kTrashInfoSuffix = ".trashinfo";

// The name in the Trash at the given attempt, counted from 1: the name itself, then with ".2", ".3" behind it. Cut so
// that it and the name of its information file fit into 255 bytes; not within a UTF-8 character.
std::string trashName(std::string_view name, unsigned attempt);

// Every byte but letters, digits, "-", "_", ".", "~" and "/" as %XX.
std::string percentEncoded(std::string_view bytes);

// The content of an information file; `when` is local time.
std::string trashInfo(std::string_view path, const std::tm& when);

// The content of the file of sizes without the line of one folder, and with one in its place.
std::string withoutTrashSize(std::string_view sizes, std::string_view name);
struct TrashSize {
    std::uint64_t bytes = 0;
    std::int64_t recorded = 0;  // when its information file was written: seconds since 1970
};
std::string withTrashSize(std::string_view sizes, std::string_view name, const TrashSize& size);

}  // namespace brindle
