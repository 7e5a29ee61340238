#include "cli/palette.h"

namespace brindle {

std::string Palette::painted(std::string_view code, std::string_view text) const {
    if (!isColoured_ || text.empty()) return std::string(text);
    return "\x1b[" + std::string(code) + "m" + std::string(text) + "\x1b[0m";
}

std::string Palette::heading(std::string_view text) const {
    return painted("1", text);
}

std::string Palette::quiet(std::string_view text) const {
    return painted("2", text);
}

std::string Palette::warning(std::string_view text) const {
    return painted("33", text);
}

std::string Palette::judged(Classification classification, std::string_view text) const {
    switch (classification) {
        case Classification::safe:
            return painted("32", text);
        case Classification::review:
            return painted("33", text);
        case Classification::protected_:
            return painted("2;31", text);
    }
    return std::string(text);
}

std::string Palette::slice(StorageCategory::Kind kind, std::string_view text) const {
    switch (kind) {
        case StorageCategory::Kind::developer:
            return painted("36", text);
        case StorageCategory::Kind::applications:
            return painted("34", text);
        case StorageCategory::Kind::documents:
            return painted("35", text);
        case StorageCategory::Kind::other:
        case StorageCategory::Kind::free:
            return painted("2", text);
    }
    return std::string(text);
}

std::string_view Glyphs::slice(StorageCategory::Kind kind) const {
    switch (kind) {
        case StorageCategory::Kind::developer:
            return isUnicode ? "█" : "#";
        case StorageCategory::Kind::applications:
            return isUnicode ? "▓" : "=";
        case StorageCategory::Kind::documents:
            return isUnicode ? "▒" : "+";
        case StorageCategory::Kind::other:
            return isUnicode ? "░" : "-";
        case StorageCategory::Kind::free:
            return isUnicode ? "·" : ".";
    }
    return " ";
}

}  // namespace brindle
