#include "core/model/cleanup_item.h"

#include "core/text/core_strings.h"

namespace brindle {

namespace {

std::map<std::string, PathIdentity> identitiesOf(const RemovalStrategy& removal) {
    std::map<std::string, PathIdentity> identities;
    for (const std::string& path : removal.affectedPaths()) {
        if (const auto identity = PathIdentity::read(path)) identities.emplace(path, *identity);
    }
    return identities;
}

}  // namespace

CleanupItem::CleanupItem(CleanupItemFields fields)
    : id(std::move(fields.id)),
      moduleID(fields.moduleID),
      storedTitle(std::move(fields.title)),
      storedDetail(std::move(fields.detail)),
      measurement(std::move(fields.measurement)),
      classification(fields.classification),
      explanation(std::move(fields.explanation)),
      removal(std::move(fields.removal)),
      projectPath(std::move(fields.projectPath)),
      pathIdentities(identitiesOf(removal)),
      clears(std::move(fields.clears)) {}

std::string CleanupItem::title() const {
    return CoreStrings::localized(storedTitle);
}

std::string CleanupItem::detail() const {
    return CoreStrings::localized(storedDetail);
}

}  // namespace brindle
