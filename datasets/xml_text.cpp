#include "datasets/xml_text.h"

#include <algorithm>
#include <iterator>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::string_view kNamedReferences[] = {"amp", "lt", "gt", "quot", "apos"};

struct Section {
  std::string_view open;
  std::string_view close;
};

// What is no tag: its content follows rules of its own.
constexpr Section kSections[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}, {"<!", ">"}};

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20U && c != '\t' && c != '\n' && c != '\r';
}

bool AreDigits(std::string_view text, std::string_view digits) {
  return !text.empty() && text.find_first_not_of(digits) == std::string_view::npos;
}

// `text` begins behind the "&".
bool BeginsReference(std::string_view text) {
  const std::size_t end = text.find(';');
  if (end == std::string_view::npos) return false;
  const std::string_view name = text.substr(0, end);
  if (name.starts_with("#x")) return AreDigits(name.substr(2), "0123456789abcdefABCDEF");
  if (name.starts_with('#')) return AreDigits(name.substr(1), "0123456789");
  return std::ranges::find(kNamedReferences, name) != std::end(kNamedReferences);
}

bool ReferencesAreWhole(std::string_view text) {
  for (std::size_t at = text.find('&'); at != std::string_view::npos; at = text.find('&', at + 1)) {
    if (!BeginsReference(text.substr(at + 1))) return false;
  }
  return true;
}

// The length of a tag with its brackets, or 0: a "<" within it, or no end.
std::size_t TagLength(std::string_view text) {
  char quote = 0;
  for (std::size_t i = 1; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '<') return 0;
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '>') {
      return i + 1;
    }
  }
  return 0;
}

// The length of a comment, instruction, declaration or piece of plain text; 0 when it is no such
// section, npos when it has no end.
std::size_t SectionLength(std::string_view text) {
  for (const Section& section : kSections) {
    if (!text.starts_with(section.open)) continue;
    const std::size_t end = text.find(section.close, section.open.size());
    return end == std::string_view::npos ? end : end + section.close.size();
  }
  return 0;
}

// The elements' nesting is the parser's business; here it tells what stands outside the root.
bool MarkupIsWhole(std::string_view text) {
  int depth = 0;
  int roots = 0;
  while (!text.empty()) {
    const std::string_view content = text.substr(0, text.find('<'));
    if (!ReferencesAreWhole(content)) return false;
    if (depth == 0 && content.find_first_not_of(" \t\r\n") != std::string_view::npos) return false;
    text.remove_prefix(content.size());
    if (text.empty()) break;
    std::size_t length = SectionLength(text);
    if (length == std::string_view::npos) return false;
    if (length == 0) {
      length = TagLength(text);
      const std::string_view tag = text.substr(0, length);
      if (length == 0 || !ReferencesAreWhole(tag)) return false;
      if (depth == 0) ++roots;
      if (tag.starts_with("</")) {
        --depth;
      } else if (!tag.ends_with("/>")) {
        ++depth;
      }
    }
    text.remove_prefix(length);
  }
  return roots == 1;
}

bool AttributesAreUnique(const pugi::xml_node& element) {
  for (const pugi::xml_attribute& attribute : element.attributes()) {
    if (element.attribute(attribute.name()) != attribute) return false;
  }
  return true;
}

// The node that follows in the order of the text; none after the last. Without recursion, since the
// text may nest as deep as it likes.
pugi::xml_node Following(pugi::xml_node node) {
  if (node.first_child()) return node.first_child();
  while (node && !node.next_sibling()) node = node.parent();
  return node ? node.next_sibling() : node;
}

}  // namespace

bool IsWellFormed(std::string_view text, const pugi::xml_document& document) {
  if (!IsValidUtf8(text) || std::ranges::any_of(text, IsControl) || !MarkupIsWhole(text)) {
    return false;
  }
  for (pugi::xml_node node = document.first_child(); node; node = Following(node)) {
    if (!AttributesAreUnique(node)) return false;
  }
  return true;
}

}  // namespace qm
