// Moves things to the Trash of a test's home as a cleanup does.
#pragma once

#include <gtest/gtest.h>

#include "core/model/receipt.h"
#include "core/platform/path_text.h"
#include "core/platform/trash.h"

namespace brindle::test {

inline std::expected<TrashedObject, TrashError> putInTrash(const Trash& trash, const std::string& path,
                                                           const FileStatus& approved,
                                                           std::optional<std::uint64_t> size = {}) {
    OpenFolder parent;
    EXPECT_EQ(parent.openWithoutLinks(folderOf(path)), 0) << path;
    return trash.put(parent, {std::string(lastComponent(path)), path, approved, size});
}

// What a receipt then tells of them.
inline void trashInto(ReceiptEntry& entry, const Trash& trash, const std::vector<std::string>& paths) {
    entry.paths = paths;
    entry.method = RemovalMethod::trashed;
    entry.trashedPaths.emplace();
    entry.trashedObjects.emplace();
    for (const std::string& path : paths) {
        const FileStatus status = *statusOf(path);
        const TrashedObject put = putInTrash(trash, path, status).value();
        entry.trashedPaths->push_back(put.path);
        entry.trashedObjects->push_back({path, put.path, status.device, status.inode, status.mode});
    }
}

}  // namespace brindle::test
