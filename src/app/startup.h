#pragma once

namespace Corvel {

// The console's whole life: brings the process up step by step, runs the event loop and returns
// the exit status.
int runConsole(int argc, char** argv);

} // namespace Corvel
