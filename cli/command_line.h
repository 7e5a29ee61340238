// The program, without the process it runs in: what the tests drive.
#pragma once

#include "cli/environment.h"
#include "cli/exit_code.h"
#include "cli/streams.h"

namespace brindle {

// Understands the arguments, does what they ask, writes the result and says how it ended. Sets the language
// of the whole process. Blocking; one at a time.
ExitCode runCommandLine(const Surroundings& surroundings, Streams& streams);

}  // namespace brindle
