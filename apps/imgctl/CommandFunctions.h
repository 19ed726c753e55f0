#pragma once

#include "Command.h"

/// The functions of the command table, by group. Each prints its answer or refusal and returns how
/// it ended.
namespace imgctl {

// Parameters
Status runSet(const Call& call);
Status runApply(const Call& call);
Status runGet(const Call& call);
Status runAll(const Call& call);
Status runRestore(const Call& call);
Status runRestoreAe(const Call& call);
Status runReload(const Call& call);
Status runReset(const Call& call);
Status runTry(const Call& call);
Status runKeep(const Call& call);
Status runDrop(const Call& call);
Status runUndo(const Call& call);

// Schemes, time and state
Status runScheme(const Call& call);
Status runSchemes(const Call& call);
Status runWindow(const Call& call);
Status runName(const Call& call);
Status runCopy(const Call& call);
Status runCompare(const Call& call);
Status runDiff(const Call& call);
Status runMode(const Call& call);
Status runFlush(const Call& call);
Status runWait(const Call& call);
Status runStatus(const Call& call);

// Lens and camera
Status runLens(const Call& call);
Status runZoom(const Call& call);
Status runFocus(const Call& call);
Status runFocusMode(const Call& call);
Status runPtz(const Call& call);
Status runAf(const Call& call);
Status runWdr(const Call& call);
Status runDayNight(const Call& call);
Status runMirror(const Call& call);
Status runVersion(const Call& call);
std::string lensSynopsis();

// Listings and files
Status runKeys(const Call& call);
Status runExport(const Call& call);
Status runImport(const Call& call);
Status runStyle(const Call& call);
Status runLanguage(const Call& call);
Status runCommon(const Call& call);

// Why, what next, and what was
Status runExplain(const Call& call);
Status runPlan(const Call& call);
Status runHistory(const Call& call);
Status runWatch(const Call& call);
// What the camera sees
Status runSnapshot(const Call& call);

// The layer against its contract
Status runCompliance(const Call& call);

// The simulated layer
Status runFail(const Call& call);
Status runLight(const Call& call);
Status runLimit(const Call& call);
Status runUnlimit(const Call& call);

} // namespace imgctl
