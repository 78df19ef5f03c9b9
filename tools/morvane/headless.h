// Headless runs: a key script typed into the browser, the screen printed at each `screen` and
// once at the end, then how SendForm ended. Deterministic: the virtual clock moves only by
// `wait` and by the browser's own stalls.
#pragma once

#include <ostream>
#include <string>

#include "host/key_script.h"
#include "tools/morvane/options.h"
#include "tools/session/browser_session.h"

namespace morvane::tools {

// Prints "=== screen n CxR ===" and the rows, and the attribute rows as Mode asks.
void DumpScreen(const host::TextScreen &Screen, unsigned Number, DumpMode Mode, std::ostream &Out);

// Runs the script; returns the exit code (0 when SendForm returned, 3 when the keys ran out
// while the browser waited).
int RunHeadless(BrowserSession &Session, const SendFormRequest &Request,
                const host::KeyScript &Script, DumpMode Mode, std::ostream &Out,
                std::ostream &Errors);

} // namespace morvane::tools
