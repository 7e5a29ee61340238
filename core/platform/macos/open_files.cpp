#include "core/platform/open_files.h"

#include <libproc.h>
#include <sys/proc_info.h>

#include <cerrno>
#include <vector>

namespace brindle {

namespace {

FileStatus statusFrom(const vnode_info& vnode) {
    return {.device = static_cast<std::int32_t>(vnode.vi_stat.vst_dev),
            .inode = vnode.vi_stat.vst_ino,
            .mode = vnode.vi_stat.vst_mode};
}

void addDescriptors(pid_t process, OpenFiles& files) {
    const int room = proc_pidinfo(process, PROC_PIDLISTFDS, 0, nullptr, 0);
    if (room <= 0) {
        if (errno == EPERM) files.noteHidden();
        return;
    }
    // More may have been opened since the question.
    std::vector<proc_fdinfo> list(static_cast<std::size_t>(room) / sizeof(proc_fdinfo) + 32);
    const int got = proc_pidinfo(process, PROC_PIDLISTFDS, 0, list.data(),
                                 static_cast<int>(list.size() * sizeof(proc_fdinfo)));
    if (got <= 0) return;
    list.resize(static_cast<std::size_t>(got) / sizeof(proc_fdinfo));
    for (const proc_fdinfo& each : list) {
        vnode_fdinfo vnode{};
        if (each.proc_fdtype == PROX_FDTYPE_VNODE &&
            proc_pidfdinfo(process, each.proc_fd, PROC_PIDFDVNODEINFO, &vnode, sizeof vnode) == sizeof vnode)
            files.add(statusFrom(vnode.pvi));
    }
}

void addMapped(pid_t process, OpenFiles& files) {
    std::uint64_t address = 0;
    proc_regionwithpathinfo region{};
    while (proc_pidinfo(process, PROC_PIDREGIONPATHINFO, address, &region, sizeof region) == sizeof region) {
        files.add(statusFrom(region.prp_vip.vip_vi));
        address = region.prp_prinfo.pri_address + region.prp_prinfo.pri_size;
    }
}

}  // namespace

std::expected<OpenFiles, Error> OpenFiles::current() {
    const int room = proc_listallpids(nullptr, 0);
    if (room <= 0) return std::unexpected(errorFrom(errno, "list the processes", ""));
    std::vector<pid_t> processes(static_cast<std::size_t>(room) + 64);
    const int count = proc_listallpids(processes.data(), static_cast<int>(processes.size() * sizeof(pid_t)));
    if (count <= 0) return std::unexpected(errorFrom(errno, "list the processes", ""));
    processes.resize(static_cast<std::size_t>(count));
    OpenFiles files;
    for (const pid_t process : processes) {
        addDescriptors(process, files);
        addMapped(process, files);
    }
    return files;
}

}  // namespace brindle
