// Exit: save and leave, discard and leave, save, discard, load defaults. Each is an action
// question whose driver answers the Changed Callback with the browser's action code.
#include "sample/pages.h"

#include "core/form_actions.h"

namespace morvane::sample {

namespace {

struct ExitAction {
  EFI_QUESTION_ID Question;
  const char16_t *Prompt;
  const char16_t *Hint;
  const char16_t *Help;
  EFI_BROWSER_ACTION_REQUEST Request;
};

const ExitAction Actions[] = {
    {0x5001, u"Save Changes and Exit", u"F10", u"Saves every change and leaves setup.",
     ACTION_REQUEST_SAVE_AND_EXIT},
    {0x5002, u"Discard Changes and Exit", u"Enter",
     u"Leaves setup; asks first when there are changes that were not saved.",
     EFI_BROWSER_ACTION_REQUEST_EXIT},
    {0x5003, u"Save Changes", u"Enter", u"Saves every change and stays in setup.",
     ACTION_REQUEST_SAVE},
    {0x5004, u"Discard Changes", u"Enter",
     u"Reads every setting again from the drivers, dropping the changes.",
     ACTION_REQUEST_LOAD_PREVIOUS},
    {0x5005, u"Load Setup Defaults", u"F9", u"Puts every setting back to its default value.",
     ACTION_REQUEST_LOAD_DEFAULTS},
};

class ExitPage : public SamplePage {
public:
  explicit ExitPage(const SampleServices &Services) : SamplePage(Services, gDefaultPageGuids[4]) {
    kit::Strings &S = Text();
    EFI_STRING_ID Title = S.Add(u"Exit");
    S.Translate("fr-FR", Title, u"Quitter");
    EFI_STRING_ID FormSetHelp = S.Add(u"Save or discard the changes and leave setup.");

    kit::IfrWriter W;
    W.FormSet(PageGuid, Title, FormSetHelp, {gEfiHiiPlatformSetupFormsetGuid}, true);
    W.Form(1, Title, true);
    W.Subtitle(S.Add(u"Save and Exit"), 0, 0, true).End();
    for (const ExitAction &Action : Actions) {
      // The action carries a hint as its configuration text, so Enter runs it.
      W.Action(
          {S.Add(Action.Prompt), S.Add(Action.Help), Action.Question, 0, 0, EFI_IFR_FLAG_CALLBACK},
          S.Add(Action.Hint));
    }
    W.End(); // form
    W.End(); // form set

    Driver().OnCallback = [](EFI_BROWSER_ACTION Callback, EFI_QUESTION_ID Question, UINT8 Type,
                             EFI_IFR_TYPE_VALUE *Value, EFI_BROWSER_ACTION_REQUEST *Request) {
      for (const ExitAction &Action : Actions) {
        if (Action.Question != Question) {
          continue;
        }
        if (Callback == EFI_BROWSER_ACTION_CHANGED && Request != nullptr) {
          *Request = Action.Request;
        }
        return EFI_SUCCESS;
      }
      return EFI_UNSUPPORTED;
    };
    Publish(W, Title, FormSetHelp);
  }
};

} // namespace

std::unique_ptr<SamplePage> MakeExitPage(const SampleServices &Services) {
  return std::make_unique<ExitPage>(Services);
}

} // namespace morvane::sample
