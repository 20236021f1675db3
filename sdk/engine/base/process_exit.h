// Stops the engine when the process exits while it is still working: in the order of ExitStage,
// before the libraries that it uses are unloaded.
//
// GStreamer loads plug-ins when they are first needed. One that is loaded while the process exits,
// after the libraries' own exit handlers, aborts it. Exit handlers run in reverse order of their
// registration, and a library registers its own when it is loaded. So the engine's handler is
// registered twice: at the first onProcessExit(), for a process that exits while GStreamer still
// starts, and by renewExitHandler() once everything is loaded, so that it precedes the handlers of
// libraries loaded in between. The handler that is called first runs the stages.
//
// Thread: any.
// Ownership: stages are functions of the engine and stay registered.
// Failure: none.

#pragma once

namespace NimboEngine {

enum class ExitStage {
  kPusher,   // stops capture, encoder and connection
  kPlayers,  // stops all pipelines, then waits for pending requests
  kDevices,  // waits for the device monitor's start
  kCount,
};

// `stop` is called once, on the thread that ends the process; it returns within a few seconds,
// whatever hangs. Later calls for the same stage change nothing.
void onProcessExit(ExitStage stage, void (*stop)());

// To be called when libraries have been loaded for the engine.
void renewExitHandler();

}  // namespace NimboEngine
