// brindle, the command line. Where to look:
//
//   command_line        understands, dispatches, writes the result
//   option_set          every command and option, defined once; options: what they come to
//   help, man_page, completion     made from those definitions; suggestion: "did you mean"
//   environment         whose home, which language, colours or none; streams: where the program writes
//   scan_command, explain_command, modules_command, settings_command, doctor_command     one a command
//   clean_command       brindle clean; clean_selection: which items; clean_page: what is shown before and after
//   history_command, restore_command   likewise; receipt_lookup: which cleanup is meant; history_page: list and page
//   schedule_command    brindle schedule; schedule_page: how it stands, what a run did
//   projects_command, project_command   likewise; recovery_dialogue: asks before a project is pushed
//   report_view         the report of a scan, of storage_bar, item_view and unreachable_view
//   answer              what a person typed at a question
//   item_lookup         which item a path means; item_page: all that is known of one
//   project_list        the projects that were found; project_page: all that is known of one; project_view: both
//   page_rows           labelled rows and paragraphs, of which the pages are made
//   progress            the line on the terminal while a scan runs
//   display_width, text_table, palette     columns, tables, colours and symbols
//   exit_code           how the program ends
#include "cli/command_line.h"
#include "core/platform/machine.h"
#include "core/platform/terminal.h"

int main(int count, char** arguments) {
    using namespace brindle;
    ignoreClosedPipes();
    installInterruptHandler();
    const std::string program = executablePath().value_or("");
    Surroundings surroundings{
        .arguments = {arguments + (count > 0 ? 1 : 0), arguments + count},
        .environment = currentEnvironment(),
        .resourceFolder = resourceFolderBeside(program),
        .accountHome = currentUserHome().value_or(""),
        .program = program,
        .workingFolder = canonicalPath(".").value_or(""),
        .isInterrupted = interruptRequested,
    };
    StandardStreams streams;
    return number(runCommandLine(surroundings, streams));
}
