#include "core/modules/xcode_archives.h"

#include <algorithm>

#include "core/modules/property_list.h"
#include "core/modules/xcode_items.h"
#include "core/platform/files.h"
#include "core/text/byte_format.h"
#include "core/text/calendar.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::string_view kArchives = "Library/Developer/Xcode/Archives";
constexpr std::string_view kSuffix = ".xcarchive";

// "1.2 (34)": the version that people see, and the build's own number.
std::optional<std::string> versionIn(const PropertyList& record) {
    const PropertyList* properties = record.find("ApplicationProperties");
    if (properties == nullptr) return std::nullopt;
    const auto version = properties->text("CFBundleShortVersionString");
    auto build = properties->text("CFBundleVersion");
    if (!version) return build;
    return build ? *version + " (" + *build + ")" : *version;
}

std::int64_t symbolFilesIn(const std::string& archive) {
    const auto names = listFolder(archive + "/dSYMs");
    if (!names) return 0;
    return std::ranges::count_if(*names, [](const std::string& name) { return name.ends_with(".dSYM"); });
}

std::vector<Fact> factsOf(const std::optional<PropertyList>& record, std::int64_t symbolFiles) {
    std::vector<Fact> facts;
    if (const auto version = record ? versionIn(*record) : std::nullopt)
        facts.push_back({"Version", *version});
    const auto created = record ? record->date("CreationDate") : std::nullopt;
    if (const auto text = created ? minuteText(*created) : std::nullopt) facts.push_back({"Created", *text});
    if (symbolFiles > 0) facts.push_back({"Symbol files (dSYM)", ByteFormat::count(symbolFiles)});
    return facts;
}

std::optional<CleanupItem> itemOf(const ScanContext& context, const std::string& day,
                                  const NamedFolder& archive) {
    const auto measurement = measureOccupied(context, archive.path);
    if (!measurement) return std::nullopt;
    const std::string fileName = archive.name.substr(0, archive.name.size() - kSuffix.size());
    const auto record = readPropertyList(archive.path + "/Info.plist");
    const auto name = record ? record->text("Name") : std::nullopt;
    const std::int64_t symbolFiles = symbolFilesIn(archive.path);
    return protectedItem(
        context,
        {.head = {ModuleID::xcode, "archive." + day + "/" + fileName,
                  localized("Archive of %@", name && !name->empty() ? *name : fileName),
                  context.displayPath(archive.path)},
         .measurement = *measurement,
         .reason = symbolFiles > 0 ? "A build as it was archived, with the symbols that make its crash "
                                     "reports readable. An archive is the only copy of what was shipped; "
                                     "delete one in Xcode's Organizer when you are sure."
                                   : "A build as it was archived. An archive is the only copy of what was "
                                     "shipped; delete one in Xcode's Organizer when you are sure.",
         .facts = factsOf(record, symbolFiles),
         .paths = {archive.path}});
}

}  // namespace

std::vector<CleanupItem> archiveItems(const ScanContext& context) {
    std::vector<CleanupItem> items;
    for (const NamedFolder& day : ownFolders(context, kArchives)) {
        for (const NamedFolder& archive : ownFolders(context, std::string(kArchives) + "/" + day.name)) {
            if (!archive.name.ends_with(kSuffix)) continue;
            if (auto item = itemOf(context, day.name, archive)) items.push_back(std::move(*item));
        }
    }
    return items;
}

}  // namespace brindle
