// The function that the dependent plug-in needs.

#include "plugin/IVideoFramePlugin.h"

extern "C" LUMO_PLUGIN_INTERFACE int lumoTestPluginExport() {
  return 1;
}
