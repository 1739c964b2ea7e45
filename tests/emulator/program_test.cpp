// The quellanbrook-emulator program as scripts start it: a child process that prints its
// base URL first and stops on SIGTERM.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "emulator/core/base64.h"
#include "http_test_client.h"

namespace qbrk::emulator::testing {
namespace {

class ProgramTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qbrk-emulator-program-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    data_dir_ = pattern;
  }
  void TearDown() override {
    Stop();
    std::error_code ignored;
    std::filesystem::remove_all(data_dir_, ignored);
  }

  // Starts the program; the first line it prints, or "" when it ended first.
  std::string Launch(std::vector<std::string> args) {
    int out[2];
    if (::pipe(out) != 0) return {};
    args.insert(args.begin(), QBRK_EMULATOR_PROGRAM);
    pid_ = ::fork();
    if (pid_ == 0) {
      ::dup2(out[1], 1);
      ::close(out[0]);
      std::vector<char*> argv;
      for (std::string& a : args)
        argv.push_back(a.data());
      argv.push_back(nullptr);
      ::execv(argv[0], argv.data());
      ::_exit(127);
    }
    ::close(out[1]);
    std::string line;
    char c;
    while (::read(out[0], &c, 1) == 1 && c != '\n')
      line += c;
    ::close(out[0]);
    return line;
  }

  // Sends SIGTERM and waits up to ten seconds; the exit status, or -1.
  int Stop() {
    if (pid_ > 0) ::kill(pid_, SIGTERM);
    return Wait();
  }

  // Waits up to ten seconds for the program to end by itself.
  int Wait() {
    if (pid_ <= 0) return -1;
    int status = 0;
    for (int i = 0; i < 1000; ++i) {
      if (::waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      }
      ::usleep(10000);
    }
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return -1;
  }

  static uint16_t PortOf(const std::string& url) {
    return static_cast<uint16_t>(std::stoi(url.substr(url.rfind(':') + 1)));
  }

  std::string data_dir_;
  pid_t pid_ = -1;
};

TEST_F(ProgramTest, PrintsItsAddressServesAndStopsOnSigterm) {
  const std::string url = Launch({"--data", data_dir_, "--listen", "127.0.0.1:0", "--account",
                                  "taro@example.jp:secret", "--quota", "1000"});
  ASSERT_TRUE(url.starts_with("http://127.0.0.1:")) << url;
  const HttpReply reply = SendRaw(
      PortOf(url),
      BuildRequest("HEAD", "/~taro@example.jp/file/",
                   {{"Authorization", "Basic " + EncodeBase64("taro@example.jp:secret")}}, ""),
      true);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(Stop(), 0);
  struct stat st {};
  EXPECT_EQ(::stat((data_dir_ + "/accounts/taro@example.jp").c_str(), &st), 0);
}

TEST_F(ProgramTest, RefusesWhatItCannotServe) {
  EXPECT_EQ(Launch({"--data", data_dir_}), "");
  EXPECT_EQ(Wait(), 2);
  EXPECT_EQ(Launch({"--data", data_dir_, "--account", "a@b:c", "--listen", "0.0.0.0:0"}), "");
  EXPECT_EQ(Wait(), 1);
  EXPECT_EQ(Launch({"--data", data_dir_, "--account", "a@b:c", "--fault", "PUT"}), "");
  EXPECT_EQ(Wait(), 1);
  EXPECT_NE(Launch({"--help"}), "");
  EXPECT_EQ(Wait(), 0);
}

TEST_F(ProgramTest, ServesHttpsWithACertificateItMakes) {
  const std::string url = Launch({"--data", data_dir_, "--account", "taro@example.jp:secret",
                                  "--tls", "--vfs-version", "3.1"});
  ASSERT_TRUE(url.starts_with("https://127.0.0.1:")) << url;
  const std::string cert = data_dir_ + "/.state/tls/cert.pem";
  const std::string command = "curl -s -I --max-time 20 --cacert " + cert +
                              " -u taro@example.jp:secret " + url + "/~taro@example.jp/file/";
  FILE* curl = ::popen(command.c_str(), "r");
  ASSERT_NE(curl, nullptr);
  std::string answer;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, curl)) > 0)
    answer.append(buffer, n);
  EXPECT_EQ(::pclose(curl), 0);
  EXPECT_TRUE(answer.starts_with("HTTP/1.1 200")) << answer;
  EXPECT_NE(answer.find("X-HV-VFS-Version: 3.1"), std::string::npos) << answer;
  EXPECT_EQ(Stop(), 0);
}

}  // namespace
}  // namespace qbrk::emulator::testing
