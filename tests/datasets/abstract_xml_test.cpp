#include <gtest/gtest.h>

#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

TEST(AbstractXml, GivesARecordsValuesBackInTheLayout) {
  SmallRegistry small;
  const auto layout = small.data_sets.GetNAACCRLayout();
  Abstract abstract = small.data_sets.GetAbstract(kNoId, 7);
  std::vector<Variant> values;
  for (std::int16_t i = 1; i <= layout->FieldsCount(); ++i) {
    values.push_back(abstract.FieldByIndex(i));
  }
  const Variant xml = abstract.GetXML();
  layout->Setfieldvalue(4, "left from before");
  EXPECT_EQ(small.data_sets.GetAbstractXML(xml.Get<std::string>()), layout);
  for (std::int16_t i = 1; i <= layout->FieldsCount(); ++i) {
    EXPECT_EQ(Variant(layout->fieldvalue(i)), values[static_cast<std::size_t>(i) - 1]) << i;
  }
}

TEST(AbstractXml, ReadsAnyWellFormedTextOfThatShapeAndRefusesTheRest) {
  SmallRegistry small;
  const auto layout = small.data_sets.GetNAACCRLayout();
  const std::string start = "<a><r><f>";
  const std::string end = "</f></r></a>";
  struct Case {
    std::string xml;
    std::int32_t number;
    const char* value;  // of field 4
  };
  for (const Case& c : {
           Case{
               "<?xml version=\"1.0\"?>\n<!-- <&> -->\n<a>\n<r>\n<f>\n<x Value='1 &lt; 2 &#x26; 3' "
               "Index='4'/>\n</f>\n</r>\n<r><f><x/></f></r>\n</a>\n",
               0, "1 < 2 & 3"},
           Case{start + "<x Index=' 4.4 ' Value='Ñu'></x><x Index='4' Value='a > b'/>" + end, 0,
                "a > b"},
           Case{start + end, 0, ""},
           Case{"<a><r>text</r></a>", 0, ""},
           Case{"", kErrObjectNotSet, ""},
           Case{"<a/>", kErrObjectNotSet, ""},
           Case{"<a><r/></a>", kErrObjectNotSet, ""},
           Case{"<a><!-- --><r><f/></r></a>", kErrObjectNotSet, ""},
           Case{"<a><r><f></r></f></a>", kErrObjectNotSet, ""},
           Case{"<a><r><f/></r></a><b/>", kErrObjectNotSet, ""},
           Case{"<a><r><f/></r></a>text", kErrObjectNotSet, ""},
           Case{start + "<x Index='4' Value='a & b'/>" + end, kErrObjectNotSet, ""},
           Case{start + "<x Index='4' Value='a &b; c'/>" + end, kErrObjectNotSet, ""},
           Case{start + "<x Index='4' Value='a < b'/>" + end, kErrObjectNotSet, ""},
           Case{start + "<x Index='4' Value='a\x02'/>" + end, kErrObjectNotSet, ""},
           Case{start + "<x Index='4' Value='\xC3'/>" + end, kErrObjectNotSet, ""},
           Case{start + "<x Index='4' Value='O'Brien'/>" + end, kErrObjectNotSet, ""},
           Case{start + "<x Index='4' Value='a' Value='b'/>" + end, kErrObjectNotSet, ""},
           Case{start + "<x Index='4' value='a'/>" + end, kErrObjectNotSet, ""},
           Case{start + "<x Value='a'/>" + end, kErrObjectNotSet, ""},
           Case{start + "<x Index='four' Value='a'/>" + end, kErrTypeMismatch, ""},
           Case{start + "<x Index='40000' Value='a'/>" + end, kErrOverflow, ""},
           Case{start + "<x Index='4' Value='kept'/><x Index='10' Value='a'/>" + end, kErrSubscript,
                "kept"},
       }) {
    layout->Setfieldvalue(4, "");
    EXPECT_EQ(Raises([&] { small.data_sets.GetAbstractXML(c.xml); }).number, c.number) << c.xml;
    EXPECT_EQ(layout->fieldvalue(4), c.value) << c.xml;
  }
  QMDataSets without_layout;
  EXPECT_EQ(without_layout.GetAbstractXML(start + end)->FieldsCount(), 0);
}

}  // namespace
}  // namespace qm::test
