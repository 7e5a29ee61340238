// What the tests of modules ask again and again.
#pragma once

#include <gtest/gtest.h>

#include "core/model/cleanup_item.h"
#include "core/scan/scan_context.h"
#include "core/text/core_strings.h"
#include "tests/support/test_home.h"

namespace brindle::test {

inline ScanContext contextOf(const TestHome& home) {
    ScanContext context;
    context.home = home.path();
    context.now = std::chrono::system_clock::now();
    return context;
}

// Empty when the item has no such fact.
inline std::string factOf(const CleanupItem& item, std::string_view label) {
    for (const Fact& fact : item.explanation.facts) {
        if (fact.storedLabel == label) return fact.storedValue;
    }
    return {};
}

// A text that no catalogue knows could never be translated.
inline void expectInEnglish(const std::vector<std::string>& texts) {
    static const ResourceBundle kEnglish(resourcesFolder(), "core", {"en"});
    for (const std::string& text : texts) EXPECT_EQ(kEnglish.text(text, ""), text);
}

// Of an item into whose explanation nothing was filled in.
inline void expectInEnglish(const CleanupItem& item) {
    const Explanation& told = item.explanation;
    std::vector<std::string> texts = {item.storedTitle, told.storedWhatItIs, told.storedWhatHappensNext};
    for (const auto& text : {told.storedWhySuggested, item.clears}) {
        if (text) texts.push_back(*text);
    }
    if (told.regeneratedBy && told.regeneratedBy->kind != Regeneration::Kind::command)
        texts.push_back(told.regeneratedBy->storedText);
    for (const Fact& fact : told.facts) texts.push_back(fact.storedLabel);
    expectInEnglish(texts);
}

}  // namespace brindle::test
