// Plays a key script into a driver run the way a user types: one key each time the browser
// waits, so type-ahead never meets a browser that drains the keyboard.
#pragma once

#include <functional>

#include "host/driver_run.h"
#include "host/key_script.h"

namespace morvane::host {

struct KeyScriptOutcome {
  DriverRun::State State = DriverRun::State::NotStarted;
  // The body's status when State is Finished.
  EFI_STATUS Status = EFI_NOT_STARTED;
  size_t KeysFed = 0;
  // Keys left over because the run ended before they were due.
  size_t KeysUnused = 0;
};

// Resumes the run to its first wait, then takes the steps in order: a key is pushed and the run
// resumed to its next wait; `screen` calls OnScreen (the keys before it are processed by then);
// `wait` becomes wait budget and the run is resumed.
KeyScriptOutcome RunKeyScript(DriverRun &Run, const KeyScript &Script,
                              const std::function<void(const KeyScriptStep &Step)> &OnScreen);

} // namespace morvane::host
