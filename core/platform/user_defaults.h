// The user's settings as the system keeps them: typed values under text keys.
//
// On macOS the native defaults database; elsewhere, and wherever a home other than the current user's is
// looked at, one JSON file that a person can read and edit:
//
//   { "brindle.cadence": "weekly",
//     "brindle.disabledModules": ["docker", "xcode"],
//     "brindle.lowDiskThreshold": 20000000000,
//     "brindle.lastScheduledRun": { "date": "2026-11-21T07:19:27Z" },
//     "brindle.storageSamples": { "data": "base64…" } }
//
// Dates are kept in whole seconds. A list entry that is not UTF-8 (a path may be any bytes) is written as
// { "data": "base64…" } in its place. Keys and values that Brindle does not know stay in the file (numbers of
// theirs at double precision, of entries that stand twice inside a value one), in their
// order.
#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/platform/error.h"
#include "core/text/calendar.h"

namespace brindle {

struct DefaultsData {
    std::string bytes;
    bool operator==(const DefaultsData&) const = default;
};

// `double` stands only for a stored number that is no unsigned 64-bit integer; nothing of ours writes one.
// `std::monostate` stands for a stored value that is none of the other kinds (null, a foreign object, a list
// of more than text): it is there, it stays there, it says nothing. Storing one is an error.
using DefaultsValue = std::variant<bool, std::uint64_t, double, std::string, std::vector<std::string>,
                                   TimePoint, DefaultsData, std::monostate>;

// Thread-safe, and safe when several processes write: each change reads the store afresh under a lock between
// processes, changes one key and replaces the whole.
class UserDefaults {
  public:
    // What becomes of the value of a key: an absent result removes the key, an error leaves all as it was.
    // Called under the lock: it must not touch the store.
    using Change = std::function<std::expected<std::optional<DefaultsValue>, Error>(
        const std::optional<DefaultsValue>& stored)>;

    virtual ~UserDefaults() = default;

    // The stored value, read from the store at every call; absent when the key or the whole store is missing.
    // A store that cannot be read or understood is an error, never an empty one.
    virtual std::expected<std::optional<DefaultsValue>, Error> value(std::string_view key) const = 0;

    // Reads the value, changes it and stores it in one step: nobody else's change of the key falls between.
    // Errors leave the store as it was. A store that cannot be understood is never overwritten.
    virtual std::expected<void, Error> update(std::string_view key, const Change& change) = 0;

    // Both with the promises of update().
    std::expected<void, Error> set(std::string_view key, const DefaultsValue& value);
    std::expected<void, Error> remove(std::string_view key);  // a key that is not there is success

    // Where the settings lie, for `brindle settings` and `brindle doctor`.
    virtual std::string location() const = 0;
};

// One JSON file, in the format above. The file need not exist; its lock is `path` + ".lock". Where `path` is
// a link, the file it leads to is read and replaced, and the link stays. Unreadable, empty, not JSON, no
// object, or one key twice: an error, and the file stays byte for byte.
std::shared_ptr<UserDefaults> fileDefaults(std::string path);

// The current user's own store: the native one on macOS, `configFolder`/brindle/preferences.json elsewhere.
std::shared_ptr<UserDefaults> standardDefaults(const std::string& configFolder);

}  // namespace brindle
