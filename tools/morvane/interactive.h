// The browser on the real terminal: the virtual console drawn after each key the browser has
// taken, keys decoded and handed to the extended input protocol, real time passed to the
// browser's timers while it waits.
#pragma once

#include <functional>
#include <ostream>

#include "tools/morvane/options.h"
#include "tools/session/browser_session.h"
#include "tools/terminal/terminal_session.h"

namespace morvane::tools {

// Runs until SendForm returns or a signal ends the program; returns the exit code. The terminal
// is restored before it returns; a terminating signal is re-raised by the caller.
int RunInteractive(TerminalSession &Terminal, BrowserSession &Session,
                   const SendFormRequest &Request, bool Stats, std::ostream &Errors);

} // namespace morvane::tools
