// Helpers for X clients: owning handles, and properties of the display.
//
// Thread: a connection is used by one thread at a time.
// Ownership: as the handles say.
// Failure: nothing here ends the process, even if the server dies: a broken connection is detected
//   by xcb_connection_has_error() and yields null for every request.

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace NimboEngine {

struct FreeReply {
  void operator()(void* reply) const { std::free(reply); }
};
// A reply, an event or an error, which libxcb allocates for its caller.
template <class T>
using XReply = std::unique_ptr<T, FreeReply>;

struct DisconnectFromX {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using XConnection = std::unique_ptr<xcb_connection_t, DisconnectFromX>;

// A connection to the server that $DISPLAY names, and the screen that it names there. Both null
// when there is none.
struct XDisplay {
  XConnection connection;
  const xcb_screen_t* screen = nullptr;  // belongs to the connection

  static XDisplay open();
};

// Returns whether pixels of that depth are 24 or 32 bits in 32, least significant byte first, as on
// every current desktop.
bool hasPlainPixels(xcb_connection_t* connection, uint8_t depth);

// A null connection has none.
bool hasExtension(xcb_connection_t* connection, xcb_extension_t& extension);

}  // namespace NimboEngine
