#pragma once

#include <sys/types.h>
#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace support {

/// What became of a program that ran to its end.
struct ProcessResult {
  int status = -1;  ///< its exit status; minus the signal that ended it
  std::string out;  ///< everything that it wrote to standard output
  std::string err;  ///< and to standard error
};

/// Where and how a program runs.
struct ProcessPlace {
  std::filesystem::path folder;  ///< its current folder; empty for that of the test
  /// Its environment but for what sanitizers and the dynamic linker use, which it has from the test.
  std::map<std::string, std::string> environment = {};
  std::filesystem::path standardOutput = {};  ///< a file or device to write to instead
};

/// Runs a program to its end. One that does not end within a minute is killed.
ProcessResult runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                         const ProcessPlace& place);

/// A program that runs while the test goes on.
class RunningProcess {
 public:
  RunningProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                 const ProcessPlace& place);
  /// Kills it if it still runs.
  ~RunningProcess();
  RunningProcess(const RunningProcess&) = delete;
  RunningProcess& operator=(const RunningProcess&) = delete;

  /// The next line of its standard output, without the line end. Empty when none comes within a minute.
  std::string readLine();

  /// Waits for more of its output of either kind; false when none comes within a minute, or it has ended.
  bool readMore() { return readSome(std::chrono::steady_clock::now() + std::chrono::minutes(1)); }

  /// What it has written to standard error, as far as it was read.
  const std::string& messages() const noexcept { return errText_; }

  /// Closes the test's end of its standard output, as a reader that goes away.
  void closeOutput();

  void signal(int number) const;

  /// Waits for its end.
  ProcessResult wait();

 private:
  using Deadline = std::chrono::steady_clock::time_point;

  void start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
             const ProcessPlace& place, int outWriting, int errWriting);
  /// Takes what there is from the pipes; false when nothing came before the deadline, or both have ended.
  bool readSome(Deadline deadline);

  pid_t id_ = -1;
  int out_ = -1;
  int err_ = -1;
  std::string outText_;  // read, but not asked for yet
  std::string errText_;
};

}  // namespace support
