#include "core/measure/directory_sizer.h"

#include <tbb/task_group.h>

#include <memory>

#include "core/measure/tree_walk.h"
#include "core/measure/walk_workers.h"

namespace brindle {

DirectoryMeasurement DirectorySizer::measure(const std::string& path, const MeasureOptions& options) const {
    TreeWalk walk(path, options);
    walk.runAlone();
    return walk.result();
}

DirectoryMeasurement DirectorySizer::measureConcurrently(const std::string& path,
                                                         const MeasureOptions& options) const {
    TreeWalk walk(path, options);
    walkArena().execute([&] {
        tbb::task_group group;
        walk.run(group);
        group.wait();
    });
    return walk.result();
}

MeasuredTree DirectorySizer::measureWithAreas(const std::string& path, const MeasureOptions& options,
                                              const AreaRule& rule) const {
    TreeWalk walk(path, options, &rule);
    walkArena().execute([&] {
        tbb::task_group group;
        walk.run(group);
        group.wait();
    });
    return walk.resultWithAreas();
}

std::map<std::string, DirectoryMeasurement> DirectorySizer::measure(const std::vector<std::string>& paths,
                                                                    const MeasureOptions& options) const {
    std::map<std::string, std::unique_ptr<TreeWalk>> walks;
    for (const std::string& path : paths) walks.try_emplace(path, std::make_unique<TreeWalk>(path, options));
    walkArena().execute([&] {
        tbb::task_group group;
        for (auto& [path, walk] : walks) group.run([&group, &started = *walk] { started.run(group); });
        group.wait();
    });
    std::map<std::string, DirectoryMeasurement> measurements;
    for (const auto& [path, walk] : walks) measurements.emplace(path, walk->result());
    return measurements;
}

}  // namespace brindle
