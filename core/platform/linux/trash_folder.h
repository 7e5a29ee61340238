// Finding, opening and making the Trash folders of a user. For the bodies of core/platform only.
#pragma once

#include <expected>
#include <string>

#include "core/platform/error.h"
#include "core/platform/open_folder.h"

namespace brindle {

// A Trash, each part a real folder that belongs to the user, opened without following links.
struct TrashFolder {
    std::string path;         // absolute
    std::string topFolder{};  // what the recorded origins are relative to; empty for the home's
    OpenFolder root{};
    OpenFolder files{};
    OpenFolder info{};
};

enum class TrashUse {
    put,       // missing parts are made, 0700
    rehearse,  // missing parts stay closed, but it must be possible to make them and to write into the others
    look,      // missing parts stay closed
};

struct TrashOwner {
    unsigned user = 0;
    unsigned group = 0;
};

// This process's user; for root, the owner of the home.
TrashOwner trashOwnerFor(const std::string& home);

// The Trash in the user's data folder. ENXIO when its volume is not `device`; then nothing was made.
std::expected<TrashFolder, Error> openHomeTrash(const std::string& dataHome, std::int32_t device,
                                                TrashOwner owner, TrashUse use);

// The user's Trash at the top of the volume that holds the folder `path` (absolute, links resolved): in the folder
// .Trash that all share, when that is real and sticky, otherwise .Trash-UID.
std::expected<TrashFolder, Error> openVolumeTrash(const std::string& path, std::int32_t device,
                                                  TrashOwner owner, TrashUse use);

}  // namespace brindle
