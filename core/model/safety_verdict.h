// What the safety guard says of one act.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace brindle {

// Allowed, or refused with the reason: part of a sentence in the user's language, shown beside the item and kept in the
// record of the removal.
class SafetyVerdict {
  public:
    static SafetyVerdict allowed() { return {}; }
    static SafetyVerdict refused(std::string reason) { return SafetyVerdict(std::move(reason)); }

    bool isAllowed() const { return !reason_; }
    const std::optional<std::string>& reason() const { return reason_; }  // of a refusal only

    bool operator==(const SafetyVerdict&) const = default;

  private:
    SafetyVerdict() = default;
    explicit SafetyVerdict(std::string reason) : reason_(std::move(reason)) {}

    std::optional<std::string> reason_;
};

}  // namespace brindle
