// An item as a scan might find it.
#pragma once

#include <string>
#include <utility>

#include "core/model/cleanup_item.h"

namespace brindle::test {

// Its module is that of its id's first part, where there is one.
inline CleanupItem itemOf(const std::string& id, RemovalStrategy removal,
                          Classification classification = Classification::safe, std::uint64_t bytes = 1000) {
    CleanupItemFields fields;
    fields.id = fields.title = id;
    fields.moduleID = moduleIDFrom(id.substr(0, id.find('.'))).value_or(ModuleID::system);
    fields.measurement.allocatedBytes = bytes;
    fields.classification = classification;
    fields.removal = std::move(removal);
    return CleanupItem(std::move(fields));
}

}  // namespace brindle::test
