#include <support/process.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace support {
namespace {

constexpr auto kPatience = std::chrono::minutes(1);
constexpr std::array<const char*, 5> kKept = {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS",
                                              "LD_LIBRARY_PATH"};

std::chrono::steady_clock::time_point soon() {
  return std::chrono::steady_clock::now() + kPatience;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> environmentOf(const ProcessPlace& place) {
  std::vector<std::string> variables;
  for (const char* const name : kKept) {
    if (const char* const value = std::getenv(name); value != nullptr)
      variables.push_back(std::string(name) + '=' + value);
  }
  for (const auto& [name, value] : place.environment) variables.push_back(name + '=' + value);
  return variables;
}

void closeFile(int& file) {
  if (file >= 0) ::close(file);
  file = -1;
}

/// Appends what a file holds at this moment; closes it at its end.
void readInto(std::string& text, int& file) {
  std::array<char, 65536> buffer{};
  const ssize_t count = ::read(file, buffer.data(), buffer.size());
  if (count <= 0) return closeFile(file);
  text.append(buffer.data(), static_cast<std::size_t>(count));
}

}  // namespace

RunningProcess::RunningProcess(const std::filesystem::path& program,
                               const std::vector<std::string>& arguments, const ProcessPlace& place) {
  std::array<int, 2> out{};
  std::array<int, 2> err{};
  if (::pipe2(out.data(), O_CLOEXEC) != 0 || ::pipe2(err.data(), O_CLOEXEC) != 0)
    throw std::runtime_error("cannot make pipes");
  out_ = out[0];
  err_ = err[0];
  start(program, arguments, place, out[1], err[1]);
  ::close(out[1]);
  ::close(err[1]);
}

void RunningProcess::start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                           const ProcessPlace& place, int outWriting, int errWriting) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (!place.folder.empty()) posix_spawn_file_actions_addchdir_np(&actions, place.folder.c_str());
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (place.standardOutput.empty()) {
    posix_spawn_file_actions_adddup2(&actions, outWriting, STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, place.standardOutput.c_str(), O_WRONLY, 0);
  }
  posix_spawn_file_actions_adddup2(&actions, errWriting, STDERR_FILENO);
  std::vector<std::string> words = {program.string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = environmentOf(place);
  const int error = ::posix_spawn(&id_, program.c_str(), &actions, nullptr, pointersTo(words).data(),
                                  pointersTo(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("cannot start " + program.string());
}

RunningProcess::~RunningProcess() {
  if (id_ > 0) {
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
  }
  closeFile(out_);
  closeFile(err_);
}

bool RunningProcess::readSome(Deadline deadline) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  if ((out_ < 0 && err_ < 0) || left.count() <= 0) return false;
  std::array<pollfd, 2> files = {{{out_, POLLIN, 0}, {err_, POLLIN, 0}}};
  if (::poll(files.data(), files.size(), static_cast<int>(left.count())) <= 0) return false;
  if (files[0].revents != 0) readInto(outText_, out_);
  if (files[1].revents != 0) readInto(errText_, err_);
  return true;
}

std::string RunningProcess::readLine() {
  const auto deadline = soon();
  while (outText_.find('\n') == std::string::npos) {
    if (readSome(deadline)) continue;
    ADD_FAILURE() << "no line came; standard error: " << errText_;
    return {};
  }
  const std::size_t end = outText_.find('\n');
  std::string line = outText_.substr(0, end);
  outText_.erase(0, end + 1);
  return line;
}

void RunningProcess::closeOutput() {
  closeFile(out_);
}

void RunningProcess::signal(int number) const {
  ::kill(id_, number);
}

ProcessResult RunningProcess::wait() {
  const auto deadline = soon();
  while (readSome(deadline)) continue;
  if (out_ >= 0 || err_ >= 0) {
    ADD_FAILURE() << "the program does not end";
    ::kill(id_, SIGKILL);
  }
  int state = 0;
  ::waitpid(id_, &state, 0);
  id_ = -1;
  const int status = WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
  return {status, std::move(outText_), std::move(errText_)};
}

ProcessResult runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                         const ProcessPlace& place) {
  return RunningProcess(program, arguments, place).wait();
}

}  // namespace support
