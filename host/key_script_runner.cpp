#include "host/key_script_runner.h"

#include "host/platform.h"

namespace morvane::host {

KeyScriptOutcome RunKeyScript(DriverRun &Run, const KeyScript &Script,
                              const std::function<void(const KeyScriptStep &Step)> &OnScreen) {
  KeyScriptOutcome Outcome;
  DriverRun::State State = Run.CurrentState();
  if (State == DriverRun::State::NotStarted) {
    State = Run.Resume();
  }
  for (const KeyScriptStep &Step : Script.Steps) {
    switch (Step.Type) {
    case KeyScriptStep::Kind::Key:
      if (State != DriverRun::State::Waiting) {
        Outcome.KeysUnused++;
        break;
      }
      Platform::Current().Keyboard().Push(Step.Key);
      Outcome.KeysFed++;
      State = Run.Resume();
      break;
    case KeyScriptStep::Kind::Screen:
      if (OnScreen) {
        OnScreen(Step);
      }
      break;
    case KeyScriptStep::Kind::Wait:
      if (State == DriverRun::State::Waiting) {
        Run.AddWaitBudget(Step.WaitMilliseconds * 1000);
        State = Run.Resume();
      }
      break;
    }
  }
  Outcome.State = State;
  Outcome.Status = Run.Status();
  return Outcome;
}

} // namespace morvane::host
