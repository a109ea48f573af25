#include <fuzz/element_bytes.h>
#include <fuzz/fuzz_support.h>

#include <expat.h>

#include <utility>

namespace fuzz {

struct ElementBytes::Reception {
  XML_Parser parser;
  std::vector<Element>& elements;
  std::vector<std::size_t> open;

  std::size_t place() const { return static_cast<std::size_t>(XML_GetCurrentByteIndex(parser)); }
  std::size_t length() const { return static_cast<std::size_t>(XML_GetCurrentByteCount(parser)); }

  static void XMLCALL start(void* userData, const XML_Char* /*name*/, const XML_Char** /*attributes*/) {
    Reception& self = *static_cast<Reception*>(userData);
    const std::size_t index = self.elements.size();
    if (!self.open.empty()) self.elements[self.open.back()].children.push_back(index);
    self.open.push_back(index);
    Element element;
    element.begin = self.place();
    element.contentBegin = self.place() + self.length();
    self.elements.push_back(std::move(element));
  }

  static void XMLCALL end(void* userData, const XML_Char* /*name*/) {
    Reception& self = *static_cast<Reception*>(userData);
    Element& element = self.elements[self.open.back()];
    element.contentEnd = self.place();
    element.end = self.place() + self.length();
    self.open.pop_back();
  }
};

ElementBytes::ElementBytes(std::string text) : text_(std::move(text)) {
  XML_Parser parser = XML_ParserCreate("UTF-8");
  Reception reception{parser, elements_, {}};
  XML_SetUserData(parser, &reception);
  XML_SetElementHandler(parser, Reception::start, Reception::end);
  const XML_Status status = XML_Parse(parser, text_.data(), static_cast<int>(text_.size()), XML_TRUE);
  const XML_Error error = XML_GetErrorCode(parser);
  XML_ParserFree(parser);
  if (status != XML_STATUS_OK) requireEqual(text_, XML_ErrorString(error), "what is written is well-formed");
}

const ElementBytes::Element& ElementBytes::at(const Path& path) const {
  const Element* element = &elements_.front();
  for (const std::size_t place : path) {
    require(place < element->children.size(), "an element of the tree stands in the bytes");
    element = &child(*element, place);
  }
  return *element;
}

std::vector<std::string_view> ElementBytes::gapsOf(const Element& element) const {
  std::vector<std::string_view> gaps;
  std::size_t begin = element.contentBegin;
  for (const std::size_t index : element.children) {
    gaps.push_back(between(begin, elements_[index].begin));
    begin = elements_[index].end;
  }
  gaps.push_back(between(begin, element.contentEnd));
  return gaps;
}

}  // namespace fuzz
