#include "tls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <vector>

#include "disk_store.h"

namespace qbrk::emulator {

namespace {

bool ReadWhole(const std::string& path, std::string* text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream buffer;
  buffer << in.rdbuf();
  *text = buffer.str();
  return !text->empty();
}

bool Exists(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0;
}

// Runs openssl without a shell and waits for it.
bool RunOpenssl(const std::string& cert, const std::string& key) {
  std::vector<std::string> args = {"openssl",  "req",
                                   "-x509",    "-newkey",
                                   "rsa:2048", "-nodes",
                                   "-keyout",  key,
                                   "-out",     cert,
                                   "-days",    "3650",
                                   "-subj",    "/CN=127.0.0.1",
                                   "-addext",  "subjectAltName=IP:127.0.0.1,DNS:localhost"};
  std::vector<char*> argv;
  for (std::string& a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  const pid_t pid = ::fork();
  if (pid < 0) return false;
  if (pid == 0) {
    const int null = ::open("/dev/null", O_RDWR);
    if (null >= 0) {
      ::dup2(null, 0);
      ::dup2(null, 1);
      ::dup2(null, 2);
    }
    ::execvp("openssl", argv.data());
    ::_exit(127);
  }
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return false;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

bool LoadCertificate(const EmulatorConfig& config, const std::string& state_dir,
                     std::string* cert_pem, std::string* key_pem, std::string* error) {
  std::string cert = config.cert_file;
  std::string key = config.key_file;
  if (cert.empty() != key.empty()) {
    *error = "--cert and --key go together";
    return false;
  }
  if (cert.empty()) {
    const std::string dir = state_dir + "/tls";
    cert = dir + "/cert.pem";
    key = dir + "/key.pem";
    if (!Exists(cert) || !Exists(key)) {
      if (MakeFolders(dir) != 0 || !RunOpenssl(cert, key)) {
        *error = "could not make a certificate with openssl in " + dir;
        return false;
      }
    }
  }
  if (!ReadWhole(cert, cert_pem) || !ReadWhole(key, key_pem)) {
    *error = "cannot read " + cert + " or " + key;
    return false;
  }
  return true;
}

}  // namespace qbrk::emulator
