#include "core/projects/project_manifest.h"

#include <toml++/toml.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <sstream>

#include "core/platform/files.h"
#include "core/projects/toml_nesting.h"
#include "core/text/ascii.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using Json = nlohmann::json;

constexpr std::size_t kNameLimit = 214;  // bytes; what npm allows, and nobody allows more

// yaml-cpp keeps some 240 bytes for each bracket of a text that opens one after the other.
constexpr std::size_t kPubspecLimit = 128U << 10U;
constexpr int kPubspecDepth = 64;  // its parser calls itself for every level

// As it may be shown: nothing that a terminal must not see.
std::optional<std::string> cleaned(std::string_view name) {
    name = trimmed(name);
    if (name.empty() || name.size() > kNameLimit || printable(name) != name) return std::nullopt;
    return std::string(name);
}

// Hears the tokens of a JSON text and keeps none but the value of "name" in the outermost object; of several the last
// one, as npm does. How deep the text nests costs the parser one bit a level.
class JsonName final : public nlohmann::json_sax<Json> {
  public:
    const std::optional<std::string>& name() const { return name_; }

    bool null() override { return other(); }
    bool boolean(bool /*value*/) override { return other(); }
    bool number_integer(number_integer_t /*value*/) override { return other(); }
    bool number_unsigned(number_unsigned_t /*value*/) override { return other(); }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return other(); }
    bool binary(binary_t& /*value*/) override { return other(); }
    bool string(string_t& value) override {
        if (isNameNext_) name_ = value;
        isNameNext_ = false;
        return true;
    }
    bool start_object(std::size_t /*size*/) override { return opened(); }
    bool start_array(std::size_t /*size*/) override { return opened(); }
    bool end_object() override { return closed(); }
    bool end_array() override { return closed(); }
    bool key(string_t& value) override {
        isNameNext_ = depth_ == 1 && value == "name";
        return true;
    }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const Json::exception& /*error*/) override {
        return false;
    }

  private:
    bool other() {
        if (isNameNext_) name_.reset();
        isNameNext_ = false;
        return true;
    }
    bool opened() {
        ++depth_;
        return other();
    }
    bool closed() {
        --depth_;
        return true;
    }

    std::size_t depth_ = 0;
    bool isNameNext_ = false;
    std::optional<std::string> name_;
};

// Thrown out of the YAML parser, which knows no other way to be stopped.
struct HeardEnough {};

// Hears the events of a YAML text until the first "name" in the outermost map. Aliases are events too and are never
// followed, so that they cannot multiply.
class PubspecName final : public YAML::EventHandler {
  public:
    const std::optional<std::string>& name() const { return name_; }

    void OnDocumentStart(const YAML::Mark& /*mark*/) override {}
    void OnDocumentEnd() override { throw HeardEnough(); }
    void OnNull(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override { node(std::nullopt); }
    void OnAlias(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override { node(std::nullopt); }
    void OnScalar(const YAML::Mark& /*mark*/, const std::string& tag, YAML::anchor_t /*anchor*/,
                  const std::string& value) override {
        node(isText(tag, value) ? std::optional(value) : std::nullopt);
    }
    void OnSequenceStart(const YAML::Mark& /*mark*/, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                         YAML::EmitterStyle::value /*style*/) override {
        if (depth_ == 0) throw HeardEnough();
        opened();
    }
    void OnSequenceEnd() override { --depth_; }
    void OnMapStart(const YAML::Mark& /*mark*/, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                    YAML::EmitterStyle::value /*style*/) override {
        opened();
    }
    void OnMapEnd() override { --depth_; }

  private:
    // "?" is what a plain scalar is tagged with, "!" a quoted one.
    static bool isText(std::string_view tag, std::string_view value) {
        if (tag == "!" || tag == "tag:yaml.org,2002:str") return true;
        const std::string word = lowerCase(value);
        const bool isNumber = word.find_first_of("0123456789+-.") == 0;
        return tag == "?" && !isNumber && word != "true" && word != "false";
    }

    // Keys and values take turns in the outermost map.
    void node(const std::optional<std::string>& text) {
        if (depth_ != 1) return;
        if (!isValueNext_) {
            isName_ = text == "name";
        } else if (isName_) {
            name_ = text;
            throw HeardEnough();
        }
        isValueNext_ = !isValueNext_;
    }

    void opened() {
        node(std::nullopt);
        if (++depth_ > kPubspecDepth) throw HeardEnough();
    }

    int depth_ = 0;
    bool isValueNext_ = false;
    bool isName_ = false;
    std::optional<std::string> name_;
};

// Empty for what is no TOML.
toml::table tomlTable(std::string_view text) {
    if (!isShallowToml(text)) return {};
    try {
        return toml::parse(text);
    } catch (const std::exception&) {
        return {};
    }
}

std::optional<std::string> nameIn(const toml::table& table, std::string_view path) {
    return table.at_path(path).value<std::string>().and_then(cleaned);
}

struct Manifest {
    std::string_view file;
    std::optional<std::string> (*nameIn)(std::string_view text);
};

constexpr std::array<Manifest, 6> kManifests = {{
    {"package.json", nameInJsonManifest},
    {"composer.json", nameInJsonManifest},
    {"Cargo.toml", nameInCargoManifest},
    {"pyproject.toml", nameInPythonManifest},
    {"pubspec.yaml", nameInPubspec},
    {"Package.swift", nameInSwiftManifest},
}};

}  // namespace

std::optional<std::string> declaredName(const std::string& folder, const std::vector<std::string>& entries) {
    for (const Manifest& manifest : kManifests) {
        if (std::ranges::find(entries, manifest.file) == entries.end()) continue;
        const auto text = readFile(folder + "/" + std::string(manifest.file), kManifestLimit);
        if (!text) continue;
        if (auto name = manifest.nameIn(*text)) return name;
    }
    return std::nullopt;
}

std::optional<std::string> nameInJsonManifest(std::string_view text) {
    JsonName listener;
    if (!Json::sax_parse(text, &listener)) return std::nullopt;
    return listener.name().and_then(cleaned);
}

std::optional<std::string> nameInCargoManifest(std::string_view text) {
    return nameIn(tomlTable(text), "package.name");
}

std::optional<std::string> nameInPythonManifest(std::string_view text) {
    const toml::table table = tomlTable(text);
    auto name = nameIn(table, "project.name");
    return name ? name : nameIn(table, "tool.poetry.name");
}

std::optional<std::string> nameInPubspec(std::string_view text) {
    // A NUL would make the parser take the text for UTF-16.
    if (text.size() > kPubspecLimit || text.contains('\0') || !isValidUtf8(text)) return std::nullopt;
    PubspecName listener;
    try {
        std::istringstream stream{std::string(text)};
        YAML::Parser(stream).HandleNextDocument(listener);
    } catch (const HeardEnough&) {
        return listener.name().and_then(cleaned);
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::string> nameInSwiftManifest(std::string_view text) {
    constexpr std::string_view kLabel = "name:";
    for (std::size_t at = text.find(kLabel); at != std::string_view::npos; at = text.find(kLabel)) {
        text.remove_prefix(at + kLabel.size());
        std::string_view rest = text;
        rest.remove_prefix(std::min(rest.find_first_not_of(kWhiteSpace), rest.size()));
        if (!rest.starts_with('"')) continue;
        const std::size_t end = rest.find_first_of("\"\\\n", 1);
        if (end == std::string_view::npos || end == 1 || rest[end] != '"') continue;
        return cleaned(rest.substr(1, end - 1));
    }
    return std::nullopt;
}

}  // namespace brindle
