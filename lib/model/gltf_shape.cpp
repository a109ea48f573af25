#include <core/display_text.h>
#include <model/gltf_fault.h>
#include <model/gltf_shape.h>

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

namespace Tal {
namespace {

using nlohmann::json;

constexpr std::size_t kMaxDepth = 64;
constexpr std::size_t kMaxValues = 4'000'000;
constexpr std::size_t kShownParserText = 160;

/// The parser's own text without its code, and without what it read, which may be as long as the document.
std::string parserText(const std::string& exceptionText) {
  // "[json.exception.parse_error.101] parse error at line 1, column 2: ...; last read: '...'"
  const std::size_t begin = exceptionText.find("] ");
  std::string text = begin == std::string::npos ? exceptionText : exceptionText.substr(begin + 2);
  text = text.substr(0, std::min(text.find("; last read"), kShownParserText));
  return escapeControls(text);
}

/// Sees a document go by without keeping it and stops at what is too deep or too much.
class ShapeChecker : public nlohmann::json_sax<json> {
 public:
  bool null() override { return countValue(); }
  bool boolean(bool /*value*/) override { return countValue(); }
  bool number_integer(number_integer_t /*value*/) override { return countValue(); }
  bool number_unsigned(number_unsigned_t /*value*/) override { return countValue(); }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return countValue(); }
  bool string(string_t& /*value*/) override { return countValue(); }
  bool binary(binary_t& /*value*/) override { return countValue(); }
  bool key(string_t& /*value*/) override { return true; }
  bool start_object(std::size_t /*size*/) override { return enter(); }
  bool start_array(std::size_t /*size*/) override { return enter(); }
  bool end_object() override { return leave(); }
  bool end_array() override { return leave(); }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& error) override {
    throw GltfFault("holds no JSON: " + parserText(error.what()));
  }

 private:
  bool countValue() {
    if (++values_ > kMaxValues) throw GltfFault("holds more than " + std::to_string(kMaxValues) + " values");
    return true;
  }

  bool enter() {
    if (++depth_ > kMaxDepth) {
      throw GltfFault("is nested deeper than " + std::to_string(kMaxDepth) + " levels");
    }
    return countValue();
  }

  bool leave() {
    --depth_;
    return true;
  }

  std::size_t depth_ = 0;
  std::size_t values_ = 0;
};

}  // namespace

void checkGltfShape(BasicStringRef text) {
  ShapeChecker shape;
  json::sax_parse(text, &shape);
}

}  // namespace Tal
