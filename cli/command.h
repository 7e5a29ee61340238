// What every command gets, and what it gives back.
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "cli/environment.h"
#include "cli/exit_code.h"
#include "cli/option_set.h"
#include "cli/palette.h"
#include "cli/progress.h"
#include "cli/project_view.h"
#include "cli/streams.h"
#include "core/session/session.h"

namespace brindle {

struct CommandContext {
    const Options& options;
    const Surroundings& surroundings;
    const Session& session;
    Streams& streams;  // for messages; results are returned
    Look look;         // of the result
};

struct Outcome {
    ExitCode code = ExitCode::success;
    std::string result;  // all that goes to the standard output
};

Outcome runScan(const CommandContext& context);
Outcome runExplain(const CommandContext& context);
Outcome runClean(const CommandContext& context);
Outcome runHistory(const CommandContext& context);
Outcome runRestore(const CommandContext& context);
Outcome runProjects(const CommandContext& context);
Outcome runProject(const CommandContext& context);
Outcome runDisk(const CommandContext& context);
Outcome runSchedule(const CommandContext& context);
Outcome runDuplicates(const CommandContext& context);
Outcome runModules(const CommandContext& context);
Outcome runSettings(const CommandContext& context);
Outcome runDoctor(const CommandContext& context);

// All receipts; otherwise it has been said why not, and the outcome is how the program ends.
std::expected<std::vector<Receipt>, Outcome> readableHistory(const CommandContext& context);

// Of a cleanup that was not begun.
ExitCode exitCodeFor(CleanRefusal::Kind kind);

// Of one that was begun. `isAllDone`: all that was asked for has gone.
ExitCode exitCodeOf(const CommandContext& context, const CleanOutcome& outcome, bool isAllDone);

// A sentence for the user, with the program's name before it.
void complain(Streams& streams, std::string_view sentence);

// The end of a command that does nothing, after such a sentence.
Outcome refusal(const CommandContext& context, ExitCode code, const std::string& sentence);
Outcome interruptedRemoval(const CommandContext& context);

// Asks before something goes. Absent: yes. A no is a success.
std::optional<Outcome> declinedRemoval(const CommandContext& context, const std::string& question);

// `success`, or `interrupted` when Ctrl-C came meanwhile.
inline ExitCode unlessInterrupted(const CommandContext& context) {
    return context.surroundings.isInterrupted() ? ExitCode::interrupted : ExitCode::success;
}

struct ShownScan {
    ScanReport report;
    std::vector<ModuleID> unfinished;  // had not ended when Ctrl-C came; empty without it
};

// Says that space is low, once a day; nothing where the messages lead to no terminal.
void warnOfLowSpace(const CommandContext& context, const ScanReport& report);

// A scan with progress on the messages' terminal, which is clean again when this returns. Then warnOfLowSpace().
ShownScan scanShowingProgress(const CommandContext& context, ScanOptions options);

// What is being done, on the messages' terminal, until it goes out of scope.
class TaskProgress {
  public:
    TaskProgress(const CommandContext& context, std::string task);

    void change(std::string task) { progress_.changeTask(std::move(task)); }

  private:
    Progress progress_;
};

FoundProjects projectsShowingProgress(const CommandContext& context);

// What a scan of this moment would say of these projects.
OfferQuestion offerQuestion(const CommandContext& context, const std::vector<Project>& projects);

}  // namespace brindle
