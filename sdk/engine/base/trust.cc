#include "base/trust.h"

#include <gio/gio.h>

#include "log/log.h"

namespace NimboEngine {

void trustCertificates(const std::string& file) {
  if (file.empty()) return;
  GError* error = nullptr;
  GTlsDatabase* database = g_tls_file_database_new(file.c_str(), &error);
  if (!database) {
    NIMBO_LOG_ERROR("the trusted certificates cannot be read: {}", error->message);
    g_error_free(error);
    return;
  }
  g_tls_backend_set_default_database(g_tls_backend_get_default(), database);
  g_object_unref(database);
}

}  // namespace NimboEngine
