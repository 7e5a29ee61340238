#include "core/modules/python_usage.h"

#include <algorithm>
#include <array>
#include <set>

#include "core/modules/python_config.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"

namespace brindle {

namespace {

constexpr std::uint64_t kVersionFileLimit = 1U << 20U;

// Where tools keep environments, one folder each.
constexpr std::array<std::string_view, 8> kEnvironmentFolders = {
    ".virtualenvs",
    ".local/share/virtualenvs",                // pipenv
    "Library/Caches/pypoetry/virtualenvs",     // Poetry on macOS
    ".cache/pypoetry/virtualenvs",             // and elsewhere
    ".local/pipx/venvs",                       // pipx
    ".local/share/pipx/venvs",                 // its newer place
    "Library/Application Support/pipx/venvs",  // and the one on macOS
    ".local/share/uv/tools",                   // uv
};

class Reader {
  public:
    Reader(const ScanContext& context, PythonUsage& usage) : context_(context), usage_(usage) {}

    void readVersions(const std::string& file) {
        if (!seen_.insert(file).second) return;
        const auto text = read(file);
        if (!text) return;
        for (std::string& name : parsePythonVersions(*text))
            usage_.namedVersions.emplace_back(std::move(name), context_.displayPath(file));
    }

    // Hidden ones too: a project's environment is often called ".venv".
    void readEnvironmentsIn(const std::string& folder) {
        auto names = listFolder(folder);
        if (!names) noteUnlessMissing(folder, names.error());
        if (!names) return;
        std::ranges::sort(*names);
        for (const std::string& name : *names) readEnvironment(folder + "/" + name);
    }

    // From the project upwards, as pyenv looks for it. The home folder's own is read in any case.
    void readProject(std::string folder) {
        readEnvironmentsIn(folder);
        while (folder != context_.home && folder.find_last_of('/') != std::string::npos) {
            readVersions(folder + "/.python-version");
            folder.resize(folder.find_last_of('/'));
        }
    }

  private:
    // Absent when there is none; one that cannot be read is noted.
    std::optional<std::string> read(const std::string& file) {
        auto text = readFile(file, kVersionFileLimit);
        if (text) return *std::move(text);
        noteUnlessMissing(file, text.error());
        return std::nullopt;
    }

    void noteUnlessMissing(const std::string& path, const Error& error) {
        if (error.kind != Error::Kind::missing) usage_.unreadable.push_back(context_.displayPath(path));
    }

    void readEnvironment(const std::string& folder) {
        const auto status = statusOf(folder);
        if (!status) noteUnlessMissing(folder, status.error());
        if (!status || !status->isFolder() || !seen_.insert(folder).second) return;
        PythonUsage::Environment environment{folder, {}};
        if (const auto text = read(folder + "/pyvenv.cfg")) {
            environment.interpreters = parsePyvenvConfig(*text).interpreters;
        } else if (!exists(folder + "/bin/activate") && !exists(folder + "/conda-meta")) {
            return;
        }
        environment.interpreters.push_back(folder + "/bin/python");
        for (std::string& path : environment.interpreters) path = canonicalOr(path);
        usage_.environments.push_back(std::move(environment));
    }

    const ScanContext& context_;
    PythonUsage& usage_;
    std::set<std::string> seen_;
};

}  // namespace

PythonUsage PythonUsage::read(const ScanContext& context, const ProjectPlaces& projects) {
    PythonUsage usage;
    for (const std::string& place : projects.unread) usage.unreadable.push_back(context.displayPath(place));
    Reader reader(context, usage);
    reader.readVersions(context.path(".pyenv/version"));
    reader.readVersions(context.path(".python-version"));
    for (const std::string_view folder : kEnvironmentFolders) reader.readEnvironmentsIn(context.path(folder));
    for (const ChildEntry& version : context.children(context.path(".pyenv/versions")))
        reader.readEnvironmentsIn(version.path + "/envs");
    for (const std::string& project : projects.paths) {
        if (context.isCancelled()) break;
        reader.readProject(project);
    }
    return usage;
}

std::vector<std::string> PythonUsage::usersOf(const ScanContext& context, const std::string& folder) const {
    std::set<std::string> users;
    const std::string version(lastComponent(folder));
    const std::string real = canonicalOr(folder);
    const bool isVersion = folder == context.path(".pyenv/versions/" + version);
    for (const auto& [name, file] : namedVersions) {
        if (!isVersion) break;
        const std::string alias = canonicalOr(context.path(".pyenv/versions/" + name));
        if (namesPythonVersion(name, version) || alias == real || isBelow(alias, real)) users.insert(file);
    }
    for (const Environment& environment : environments) {
        if (environment.path == folder) continue;
        const auto isInside = [&](const std::string& path) { return isBelow(path, real); };
        if (std::ranges::any_of(environment.interpreters, isInside))
            users.insert(context.displayPath(environment.path));
    }
    return {users.begin(), users.end()};
}

}  // namespace brindle
