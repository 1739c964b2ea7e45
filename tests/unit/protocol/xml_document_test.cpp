// The XML reader: the tree it builds and the inputs it refuses.
#include "protocol/xml/xml_document.h"

#include <gtest/gtest.h>

#include <string>

#include "protocol/xml/xml_match.h"

namespace qbrk {
namespace {

// The tree in a compact form: elements as name(children...), texts quoted.
std::string Dump(const XmlDocument& doc, XmlNodeId node) {
  std::string out;
  for (; node != kNoXmlNode; node = doc.NextSibling(node)) {
    if (!out.empty()) out += ' ';
    if (doc.IsText(node)) {
      out += '"' + std::string(doc.Text(node)) + '"';
    } else {
      out += std::string(doc.Name(node)) + "(" + Dump(doc, doc.FirstChild(node)) + ")";
    }
  }
  return out;
}

std::string Tree(const std::string& xml) {
  XmlDocument doc;
  const XmlError error = doc.Parse(xml);
  if (error != XmlError::kNone) return "error " + std::to_string(static_cast<int>(error));
  return Dump(doc, doc.FirstElement());
}

TEST(XmlDocumentTest, BuildsElementsAndTextWithPrefixedNames) {
  EXPECT_EQ(Tree("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                 "<!DOCTYPE d [ <!ENTITY x \"a>b\"> ]>\n<!-- c -->"
                 "<D:multistatus xmlns:D='DAV:'>\n <D:href>/a</D:href><e/><f a = \"1\" b='>'/>"
                 "</D:multistatus>\n<?pi?>\n"),
            "D:multistatus(D:href(\"/a\") e() f())");
}

TEST(XmlDocumentTest, KeepsWhiteSpaceOnlyAsAnElementsWholeContent) {
  EXPECT_EQ(Tree("<a>\n <b> </b>\n <c>\n</c> <d/> x </a>"), "a(b(\" \") c(\"\n\") d() \" x \")");
  EXPECT_EQ(Tree("<o> <!-- c --> </o>"), "o(\" \")");
  EXPECT_EQ(Tree("<o> <i/></o>"), "o(i())");
}

TEST(XmlDocumentTest, ResolvesEntitiesAndJoinsCharacterData) {
  EXPECT_EQ(Tree("<a>&lt;&gt;&amp;&quot;&apos;&#65;&#x42;</a>"), "a(\"<>&\"'AB\")");
  EXPECT_EQ(Tree("<a>x<!-- gap -->y<![CDATA[<&z>]]>&amp;<?p?>w<b/>v</a>"),
            "a(\"xy<&z>&w\" b() \"v\")");
  EXPECT_EQ(Tree("<a><![CDATA[]]></a>"), "a(\"\")");
  // Shift_JIS bytes pass untouched, trail bytes of backslash value included.
  EXPECT_EQ(Tree("<a>\x83\x5C\x95\x5C</a>"), "a(\"\x83\x5C\x95\x5C\")");
}

TEST(XmlDocumentTest, NavigationAndSubstringMatching) {
  XmlDocument doc;
  ASSERT_EQ(doc.Parse("<m><x:response><x:propstat><x:prop><q>1</q></x:prop></x:propstat>"
                      "</x:response></m>"),
            XmlError::kNone);
  const XmlNodeId prop = FindPath(doc, doc.FirstElement(), {"response", "propstat", "prop"});
  ASSERT_NE(prop, kNoXmlNode);
  EXPECT_EQ(doc.Name(prop), "x:prop");
  EXPECT_EQ(ElementText(doc, FindChildElement(doc, prop, "q")), "1");
  EXPECT_EQ(FindPath(doc, doc.FirstElement(), {"response", "missing", "prop"}), kNoXmlNode);
  EXPECT_EQ(ElementText(doc, prop), "");  // first child is an element
  EXPECT_EQ(doc.FirstChild(kNoXmlNode), kNoXmlNode);
  EXPECT_EQ(doc.NextSibling(123456), kNoXmlNode);
  EXPECT_EQ(doc.Name(123456), "");
}

TEST(XmlDocumentTest, RefusesMalformedInput) {
  const std::pair<const char*, XmlError> cases[] = {
      {"", XmlError::kNoElement},
      {"  <!-- only -->  ", XmlError::kNoElement},
      {"<a>", XmlError::kTruncated},
      {"<a><b></b>", XmlError::kTruncated},
      {"<a", XmlError::kTruncated},
      {"<a b=\"1", XmlError::kTruncated},
      {"<a><!-- x", XmlError::kTruncated},
      {"<a><![CDATA[x", XmlError::kTruncated},
      {"<!DOCTYPE a [", XmlError::kTruncated},
      {"<a></b>", XmlError::kMismatchedTag},
      {"</a>", XmlError::kMismatchedTag},
      {"<a>&unknown;</a>", XmlError::kBadEntity},
      {"<a>&amp</a>", XmlError::kBadEntity},
      {"<a>&#0;</a>", XmlError::kBadEntity},
      {"<a>&#128;</a>", XmlError::kBadEntity},
      {"<a>&#xZZ;</a>", XmlError::kBadEntity},
      {"<a>&#99999999999999999999;</a>", XmlError::kBadEntity},
      {"<a b=1></a>", XmlError::kBadSyntax},
      {"<a b></a>", XmlError::kBadSyntax},
      {"<a \"b\"=\"1\"></a>", XmlError::kBadSyntax},
      {"<a b=\"<\"></a>", XmlError::kBadSyntax},
      {"<a/ >", XmlError::kBadSyntax},
      {"< a></a>", XmlError::kBadSyntax},
      {"text<a/>", XmlError::kBadSyntax},
      {"<a/>text", XmlError::kBadSyntax},
      {"<a/><b/>", XmlError::kBadSyntax},
      {"<![CDATA[x]]><a/>", XmlError::kBadSyntax},
      {"<a/><!DOCTYPE a>", XmlError::kBadSyntax},
  };
  for (const auto& [xml, expected] : cases) {
    XmlDocument doc;
    EXPECT_EQ(doc.Parse(xml), expected) << xml;
    EXPECT_EQ(doc.FirstElement(), kNoXmlNode) << xml;
  }
  XmlDocument doc;
  EXPECT_EQ(doc.Parse(std::string("<a>\0</a>", 8)), XmlError::kBadCharacter);
}

TEST(XmlDocumentTest, DeepNestingAndLargeTextNeedNoRecursion) {
  constexpr int kDepth = 200000;
  std::string deep;
  for (int i = 0; i < kDepth; ++i)
    deep += "<d>";
  deep += "x";
  for (int i = 0; i < kDepth; ++i)
    deep += "</d>";
  XmlDocument doc;
  ASSERT_EQ(doc.Parse(deep), XmlError::kNone);
  EXPECT_EQ(doc.node_count(), kDepth + 2u);  // the document, the elements, one text

  const std::string text(8 << 20, 'y');
  ASSERT_EQ(doc.Parse("<a>" + text + "</a>"), XmlError::kNone);
  EXPECT_EQ(ElementText(doc, doc.FirstElement()).size(), text.size());
  std::string entities;
  for (int i = 0; i < 100000; ++i)
    entities += "&amp;";
  ASSERT_EQ(doc.Parse("<a>" + entities + "</a>"), XmlError::kNone);
  EXPECT_EQ(ElementText(doc, doc.FirstElement()), std::string(100000, '&'));
}

}  // namespace
}  // namespace qbrk
