// The name that a project's own manifest declares.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// A longer manifest yields no name: nobody writes one by hand.
inline constexpr std::uint64_t kManifestLimit = 1ULL << 20U;

// The first name that a manifest of the folder declares, in the order package.json, composer.json, Cargo.toml,
// pyproject.toml, pubspec.yaml, Package.swift; only those among `entries`, the names in the folder, are opened. Trimmed,
// never empty, valid UTF-8. Manifests are read by parsers and nothing in them is run; one that is no regular file,
// cannot be read, or is broken yields nothing, whatever it holds: bounded time, memory and stack. At most 214 bytes, and
// nothing in them that a terminal must not see.
std::optional<std::string> declaredName(const std::string& folder, const std::vector<std::string>& entries);

// Of the text of one manifest, as above.
std::optional<std::string> nameInJsonManifest(std::string_view text);    // package.json, composer.json: name
std::optional<std::string> nameInCargoManifest(std::string_view text);   // package.name
std::optional<std::string> nameInPythonManifest(std::string_view text);  // project.name, or tool.poetry.name
std::optional<std::string> nameInPubspec(std::string_view text);         // name; nothing behind it is read
std::optional<std::string> nameInSwiftManifest(std::string_view text);   // the first name: "…"

}  // namespace brindle
