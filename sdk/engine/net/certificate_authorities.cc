#include "net/certificate_authorities.h"

#include <gio/gio.h>

#include <filesystem>
#include <system_error>

#include "base/glib_ptr.h"

namespace NimboEngine {
namespace {

// Checks that the file contains a certificate: GIO creates a database from a file without one too.
bool holdsCertificate(const std::string& file, GError** error) {
  GList* list = g_tls_certificate_list_new_from_file(file.c_str(), error);
  const bool found = list != nullptr;
  g_list_free_full(list, g_object_unref);
  return found;
}

}  // namespace

Result<void> trustCertificates(const std::string& file) {
  if (file.empty()) return {};
  std::error_code missing;
  // Reading a pipe might block forever.
  if (!std::filesystem::is_regular_file(file, missing)) return refused("there is no such file");
  const std::string path = std::filesystem::absolute(file, missing);
  GError* error = nullptr;
  GTlsDatabase* database =
      holdsCertificate(path, &error) ? g_tls_file_database_new(path.c_str(), &error) : nullptr;
  if (!database) {
    const GlibPtr<GError> owned(error);
    return refused("{}", error ? error->message : "there is no certificate in it");
  }
  g_tls_backend_set_default_database(g_tls_backend_get_default(), database);
  g_object_unref(database);
  return {};
}

}  // namespace NimboEngine
