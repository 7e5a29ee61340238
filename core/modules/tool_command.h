// Items that only their tool's own command can clear.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/model/cleanup_item.h"
#include "core/tools/toolbox.h"

namespace brindle {

// What the beginning of a program asks to be run by: "node" for "#!/usr/bin/env node", "/bin/sh" for "#!/bin/sh -e".
// Absent for what is no script, and where the line names nothing.
std::optional<std::string> interpreterNamedBy(std::string_view start);

// What stands in the way of running this tool by its name: the name itself when the toolbox does not find it, or the
// name of the interpreter that its first line asks for (npm needs node) when that is not found. Absent when nothing
// does. Reads the first line of the tool, runs nothing.
std::optional<std::string> missingFor(std::string_view tool, const Toolbox& toolbox);

// As a person would type it: without the "env" before it.
std::string commandLine(const RunCommand& command);

// For an item that was filled in as one that can be removed, `fields.removal` naming its folder: true when the command
// now takes the folder's place. Where the command could not be run the item is protected instead, with what is missing
// and the command in words, and the folder stays, to show where it lies.
bool offerCommandOrProtect(CleanupItemFields& fields, const RunCommand& command, const Toolbox& toolbox);

}  // namespace brindle
