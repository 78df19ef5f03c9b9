// Driver-wide state that must start as it does when the image is loaded. On firmware the entry
// runs once after the load; the hosted platform enters a fresh driver for every test, so the
// entry first puts each subsystem's variables back to their load-time values.
#pragma once

void ResetCoreState();
void ResetUserAccessState();
void ResetParserState();
void ResetExpressionState();
void ResetKeyInputState();
void ResetScreenState();
void ResetEditorState();
void ResetDialogState();

inline void ResetDriverState() {
  ResetCoreState();
  ResetUserAccessState();
  ResetParserState();
  ResetExpressionState();
  ResetKeyInputState();
  ResetScreenState();
  ResetEditorState();
  ResetDialogState();
}
