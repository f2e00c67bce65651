// The way back from a record's XML text into the value slots of a layout.
#include <pugixml.hpp>

#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/error.h>

#include "datasets/data_sets_state.h"
#include "datasets/xml_text.h"

namespace qm {

namespace {

// Comments and instructions are nodes, so a text that has them where a record is looked for fails.
constexpr unsigned kAllNodes = pugi::parse_default | pugi::parse_comments | pugi::parse_pi;

pugi::xml_node FirstChild(const pugi::xml_node& node) {
  const pugi::xml_node child = node.first_child();
  if (!child) RaiseRunTime(kErrObjectNotSet);
  return child;
}

const char* AttributeText(const pugi::xml_node& element, const char* name) {
  const pugi::xml_attribute attribute = element.attribute(name);
  if (!attribute) RaiseRunTime(kErrObjectNotSet);
  return attribute.value();
}

}  // namespace

std::shared_ptr<NAACCRLayout> QMDataSets::GetAbstractXML(std::string_view strXML) {
  const auto& layout = state_->Layout();
  pugi::xml_document document;
  if (!document.load_buffer(strXML.data(), strXML.size(), kAllNodes, pugi::encoding_utf8) ||
      !IsWellFormed(strXML, document)) {
    RaiseRunTime(kErrObjectNotSet);
  }
  const pugi::xml_node fields = FirstChild(FirstChild(document.document_element()));
  for (const pugi::xml_node& field : fields.children()) {
    const std::int16_t index = ToInt16(AttributeText(field, "Index"));
    layout->Setfieldvalue(index, AttributeText(field, "Value"));
  }
  return layout;
}

}  // namespace qm
