// The tests that are data: every case in a file of cases/ is a test, a transcript of what is done with
// helpers.

#include <destructibles/helper_script.h>
#include <support/case_file.h>

namespace Tal {
namespace {

class HelperCase : public HelperScript {
 public:
  explicit HelperCase(const support::Case& given) : case_(given) {}

 private:
  void TestBody() override {
    support::expectTranscript(case_, [this](const std::string& command) { return run(command); });
  }

  support::Case case_;
};

[[maybe_unused]] const bool kAreRegistered =
    support::registerCases<DestructiblesTest, HelperCase>(HELPER_CASES);

}  // namespace
}  // namespace Tal
