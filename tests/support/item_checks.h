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

// Of an explanation into which nothing was filled in.
inline void expectExplainedInEnglish(const Explanation& told) {
    std::vector<std::string> texts = {told.storedWhatItIs, told.storedWhatHappensNext};
    if (told.storedWhySuggested) texts.push_back(*told.storedWhySuggested);
    if (told.regeneratedBy && told.regeneratedBy->kind != Regeneration::Kind::command)
        texts.push_back(told.regeneratedBy->storedText);
    for (const Fact& fact : told.facts) texts.push_back(fact.storedLabel);
    expectInEnglish(texts);
}

inline void expectInEnglish(const CleanupItem& item) {
    expectExplainedInEnglish(item.explanation);
    expectInEnglish({item.storedTitle, item.clears.value_or(item.storedTitle)});
}

}  // namespace brindle::test
