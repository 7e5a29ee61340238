#include "cli/recovery_dialogue.h"

#include <sstream>

#include "cli/answer.h"
#include "cli/page_rows.h"
#include "cli/project_page.h"
#include "core/projects/project_disposal.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"
#include "core/text/shell_word.h"

namespace brindle {

namespace {

// What a tool wrote, safe for a terminal, line by line.
std::string printableLines(const std::string& text) {
    std::string lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines += printable(line) + "\n";
    return lines;
}

Outcome failed(Streams& streams, const std::string& sentences) {
    std::string lines = printableLines(sentences);
    if (lines.ends_with('\n')) lines.pop_back();
    complain(streams, lines);
    return {ExitCode::failed, ""};
}

std::string insideText(const std::vector<std::string>& repositories, const Look& look) {
    std::string text = paragraphText(
        localized("Some of this work lies in repositories inside the project. Look at each by itself:"), 0,
        look);
    for (const std::string& folder : repositories) {
        const auto command = commandLineOn("brindle project", folder);
        text += command ? commandText(*command + " --recover") : paragraphText(printable(folder), 2, look);
    }
    return text;
}

Outcome nothingToDo(const Project& project, Streams& streams, const Look& look) {
    const bool isKnown =
        project.safety && (project.safety->git.inspectionComplete || !project.safety->git.isRepository);
    if (!isKnown) {
        return failed(
            streams,
            localized("Git did not answer every question about this project, so no step is proposed"));
    }
    const GitState& git = project.safety->git;
    if (!git.repositoriesWithWork.empty())
        return {ExitCode::success, insideText(git.repositoriesWithWork, look)};
    const auto above = git.isRepository ? std::nullopt : enclosingRepository(project.path);
    const bool isElsewhere = git.isFullyBackedUp() && ProjectDisposal::assess(project).isElsewhere();
    const std::string sentence =
        above ? localized("This folder lies inside the repository %@: look at that one.", printable(*above))
        : isElsewhere ? localized("There is nothing to do: everything is committed and on a remote.")
                      : localized("Brindle knows no step that would help this project.");
    return {ExitCode::success, paragraphText(sentence, 0, look)};
}

std::string listed(const std::vector<std::string>& commands) {
    std::string text;
    for (const std::string& command : commands) text += commandText(command);
    return text;
}

std::string addressText(const ProjectRecovery& step) {
    std::string text;
    for (const std::string& address : step.addresses)
        text += localized("It goes to: %@", printable(address)) + "\n";
    return text;
}

std::string question(const ProjectRecovery& step) {
    const std::string text = step.step == ProjectRecovery::Step::publish
                                 ? localized("Create a private repository and push this project?")
                                 : localized("Push this project?");
    return text + " [y/N] ";
}

Outcome interrupted(Streams& streams, const std::string& sentence) {
    complain(streams, sentence);
    return {ExitCode::interrupted, ""};
}

Outcome run(const RecoveryTask& task, Streams& streams, const Look& look) {
    const auto output = task.run();
    if (output)
        return {ExitCode::success, printableLines(*output) + paragraphText(localized("Done."), 0, look)};
    if (task.isInterrupted()) {
        return interrupted(streams, localized("interrupted: see yourself how far the command came"));
    }
    return failed(streams, output.error().description());
}

Outcome ask(const RecoveryTask& task, const std::vector<std::string>& commands, Streams& streams,
            const Look& look) {
    streams.writeMessage(localized("This will be run:") + "\n" + listed(commands) + addressText(*task.step) +
                         localized("The repository's own hooks and settings take part in it.") + "\n");
    const auto answer = streams.ask(question(*task.step));
    if (task.isInterrupted()) return interrupted(streams, localized("Nothing was run."));
    if (!answer) {
        return failed(streams, localized("nothing was run: there is no terminal on which to ask first"));
    }
    if (!isYes(*answer)) return {ExitCode::success, localized("Nothing was run.") + "\n"};
    if (task.stepNow && task.stepNow() != task.step) {
        if (task.isInterrupted()) return interrupted(streams, localized("Nothing was run."));
        return failed(streams,
                      localized("the project is not as it was when you were asked, so nothing was run"));
    }
    return run(task, streams, look);
}

}  // namespace

Outcome recoverAfterAsking(const RecoveryTask& task, Streams& streams, const Look& look) {
    if (!task.step) return nothingToDo(task.project, streams, look);
    const auto commands = shownCommands(*task.step);
    if (!commands) {
        return failed(streams,
                      localized("a name in this project cannot be shown in a command, so nothing is run"));
    }
    if (task.step->isRunnable()) return ask(task, *commands, streams, look);
    complain(streams, RecoveryFailure{RecoveryFailure::Kind::notOurs}.description());
    return {ExitCode::failed, paragraphText(task.step->explanation(), 0, look) + listed(*commands)};
}

}  // namespace brindle
