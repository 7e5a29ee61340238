// Making room for what the user is doing.
#pragma once

namespace brindle {

// From now on the calling thread, and every thread and process that it starts, gets the processor and the disk when
// nobody else wants them. There is no way back. That a system refuses is no matter.
void lowerPriority();

}  // namespace brindle
