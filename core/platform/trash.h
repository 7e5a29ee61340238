// The Trash of one user: putting an object away, and back.
//
// Nothing here deletes: what cannot go to the Trash stays where it is, and nothing is ever copied. Safe from any
// thread. On Linux the Trash that the desktops share (the home's, or the volume's own), on macOS the Finder's.
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>

#include "core/platform/error.h"
#include "core/platform/file_status.h"
#include "core/platform/open_folder.h"

namespace brindle {

struct TrashError {
    enum class Kind {
        noTrash,   // no Trash on the object's volume can take it, or none that can be trusted
        missing,   // the object is gone
        replaced,  // another object lies in its place
        occupied,  // put back: something has come in the meantime; another name would do
        failed,    // what `cause` says
    };
    Kind kind = Kind::failed;
    std::string path{};    // the object, or what is in the way
    Error cause{};         // of noTrash and failed
    std::string liesAt{};  // of replaced: where the other object lies now, when that is not where it was

    bool operator==(const TrashError&) const = default;

    // An English phrase, in the manner of Error::describe.
    std::string describe() const;
};

struct TrashedObject {
    std::string path;  // absolute, where it lies now
};

struct ObjectToTrash {
    std::string name;                     // in the folder that holds it
    std::string path;                     // absolute, standardised: recorded as its origin
    FileStatus approved;                  // its device, inode and mode
    std::optional<std::uint64_t> size{};  // allocated bytes of a folder, for the sums of the desktop
};

class Trash {
  public:
    // `dataHome` is where the user keeps programs' data ($XDG_DATA_HOME, as handed over; empty or relative for
    // HOME/.local/share); macOS does not ask. Run by root, the Trash is that of the home's owner.
    explicit Trash(const std::string& home, const std::string& dataHome = {});

    // Moves the object into the Trash of its volume. `parent` is the folder that holds it, opened without following
    // links. What lies in the Trash afterwards is the approved object, contents and mode unchanged, and the record of
    // where it was has reached the disk before it; with an error nothing has moved, unless `liesAt` says otherwise.
    std::expected<TrashedObject, TrashError> put(const OpenFolder& parent, const ObjectToTrash& object) const;

    // For a rehearsal: whether a Trash for objects in this folder exists or could be made. Makes nothing.
    std::expected<void, TrashError> canPut(const OpenFolder& parent) const;

    // Moves the object back, when its device, inode and type are still those `recorded`. Parents that are missing are
    // made (0755 less the umask, as a user's own would be); beneath the home no link is followed, outside of it none
    // at all. The Trash's record of the object goes with it.
    std::expected<void, TrashError> putBack(const std::string& trashedPath, const std::string& originalPath,
                                            const FileStatus& recorded) const;

    // Where in the Trash the object lies (device, inode and type) that was at `originalPath`, links on the way to it
    // resolved: to learn what a run that was cut short had done. Absent when it lies in none, an error when not all
    // could be looked through.
    std::expected<std::optional<std::string>, Error> find(const FileStatus& object,
                                                          const std::string& originalPath) const;

    // Removes what a process that was killed while it noted something beside the objects has left half written, from
    // the Trash that objects of `originalPath` go to.
    void removeAbandoned(const std::string& originalPath) const;

    // The Trash of the home's own volume, there or not.
    std::string homeFolder() const;

  private:
    std::string home_;
    std::string dataHome_;
};

}  // namespace brindle
