#include "config/IniParser.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

// The configuration objects include the robot.ini loader, whose document the library defines
// with its other global records.
IniParser init_parser_;

namespace {

std::string tempPath(const std::string& name) {
  return testing::TempDir() + "tk_ini_" + std::to_string(getpid()) + "_" + name;
}

std::string writeFile(const std::string& name, const std::string& text) {
  const std::string path = tempPath(name);
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// Loads text into doc; the load itself must succeed.
void load(IniParser& doc, const std::string& text) {
  ASSERT_TRUE(doc.OnLoad(writeFile("doc.ini", text).c_str()));
}

std::vector<std::string> sectionNames(IniParser& doc) {
  std::vector<std::string> names;
  doc.OnGetSectionList(names);
  return names;
}

std::vector<std::string> keys(IniParser& doc, const std::string& section) {
  std::vector<std::string> list;
  doc.Sections.at(section).OnGetKeyList(list);
  return list;
}

using Names = std::vector<std::string>;

}  // namespace

TEST(IniParser, SkipLineStopsAtTheFirstOtherByteOrAtLength) {
  const char text[] = " \t\r\n\v x";
  IniParser doc;
  int pos = 0;
  doc.SkipLine(text, 7, pos);
  EXPECT_EQ(pos, 4);  // vertical tab is not skipped
  pos = 0;
  doc.SkipLine(text, 3, pos);
  EXPECT_EQ(pos, 3);
  pos = 9;
  doc.SkipLine(text, 7, pos);
  EXPECT_EQ(pos, 9);
}

TEST(IniParser, FirstOccurrenceOfSectionAndKeyWins) {
  IniParser doc;
  load(doc, "[A]\nk=1\n[B]\nj=0\n[A]\nk=2\nm=3\n");
  EXPECT_EQ(sectionNames(doc), (Names{"A", "B"}));
  EXPECT_EQ(keys(doc, "A"), Names{"k"});  // the second [A] is dropped whole, m included
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("k"), "1");

  load(doc, "[A]\nk=1\nk=2\n");
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("k"), "1");
}

TEST(IniParser, LineEndsAndLastLine) {
  IniParser doc;
  load(doc, "[A]\r\nk=1\r\nm=2\r\n");
  EXPECT_EQ(keys(doc, "A"), (Names{"k", "m"}));
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("k"), "1");

  load(doc, "[A]\nk=v");
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("k"), "v");
  load(doc, "[A]\nj=1\nk=");
  EXPECT_EQ(keys(doc, "A"), Names{"j"});
  load(doc, "[A]\nk=\n");
  ASSERT_EQ(keys(doc, "A"), Names{"k"});
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("k"), "");
  load(doc, "[A]\n=v\n");  // an empty key is kept when the line ends
  EXPECT_EQ(keys(doc, "A"), Names{""});
}

TEST(IniParser, NoCommentsAndSpacesBelongToKeysAndValues) {
  IniParser doc;
  load(doc, "x=1\n[A] tail\n\n  \tDof = 7\n;note\nk=a=b[c]\n");
  ASSERT_EQ(sectionNames(doc), Names{"A"});  // x=1 before any header is ignored
  EXPECT_EQ(keys(doc, "A"), (Names{";note\nk", "tail\n\n  \tDof "}));
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("tail\n\n  \tDof "), " 7");
  EXPECT_EQ(doc.Sections.at("A").OnGetValue(";note\nk"), "a=b[c]");

  load(doc, "[A]\n\n   \tDof = 7\n\n  m=w\n");
  EXPECT_EQ(keys(doc, "A"), (Names{"Dof ", "m"}));
  int dof = -1;
  EXPECT_TRUE(doc.OnGetValue("A", "Dof ", &dof, 0));
  EXPECT_EQ(dof, 7);  // strtol skips the value's leading space
}

TEST(IniParser, PendingKeyTextRunsIntoTheNextSection) {
  IniParser doc;
  load(doc, "[A]\njunk\n[B]\nk=v\n");
  EXPECT_EQ(sectionNames(doc), (Names{"A", "B"}));
  EXPECT_TRUE(doc.Sections.at("A").Items.empty());
  EXPECT_EQ(keys(doc, "B"), Names{"junk\nk"});
}

TEST(IniParser, HeaderNamesAndUnclosedHeaders) {
  IniParser doc;
  load(doc, "[A\nB]\nk=v\n[]\nj=w\n");
  EXPECT_EQ(sectionNames(doc), (Names{"", "A\nB"}));
  EXPECT_TRUE(doc.Sections.at("").OnEmpty());

  load(doc, "[R.BASIC\nName=x\n");
  EXPECT_TRUE(doc.Sections.empty());
  load(doc, "[A]\nk=v\n[B\nm=w\n");
  EXPECT_EQ(sectionNames(doc), Names{"A"});
  load(doc, "A]\nk=v\n");
  EXPECT_TRUE(doc.Sections.empty());
}

TEST(IniParser, LoadReplacesTheDocumentAndFailsOnlyWhenUnreadable) {
  IniParser doc;
  load(doc, "[A]\nk=v\n");
  load(doc, "[B]\nk=v\n");
  EXPECT_EQ(sectionNames(doc), Names{"B"});
  EXPECT_FALSE(doc.OnLoad(tempPath("missing.ini").c_str()));
  EXPECT_TRUE(doc.Sections.empty());
  load(doc, "");
  EXPECT_TRUE(doc.Sections.empty());
  EXPECT_FALSE(doc.OnLoad(nullptr));
}

TEST(IniParser, SectionItems) {
  IniSection s;
  EXPECT_TRUE(s.OnEmpty());
  s.OnInsertItem("k", "1");
  EXPECT_TRUE(s.OnEmpty());  // items do not count
  s.Name = "A";
  EXPECT_FALSE(s.OnEmpty());
  s.OnInsertItem("k", "2");
  s.OnInsertItem("b", "3");
  EXPECT_EQ(s.OnGetValue("k"), "1");
  EXPECT_EQ(s.OnGetValue("x"), "");
  EXPECT_EQ(s.OnGetValuePtr("k"), nullptr);

  EXPECT_TRUE(s.OnSetValue("k", "4"));
  EXPECT_FALSE(s.OnSetValue("x", "5"));
  int target = 0;
  EXPECT_TRUE(s.OnSetValuePtr("k", &target));
  EXPECT_FALSE(s.OnSetValuePtr("x", &target));
  EXPECT_EQ(s.OnGetValue("k"), "4");
  EXPECT_EQ(s.OnGetValuePtr("k"), &target);
  EXPECT_EQ(s.OnGetValuePtr("x"), nullptr);

  Names list{"z"};
  s.OnGetKeyList(list);
  EXPECT_EQ(list, (Names{"z", "b", "k"}));  // appended, ascending

  s.OnClear();
  EXPECT_TRUE(s.OnEmpty());
  EXPECT_TRUE(s.Items.empty());
}

TEST(IniParser, SectionListIsClearedFirst) {
  IniParser doc;
  load(doc, "[b]\n[a]\n[B]\n");
  Names names{"stale"};
  doc.OnGetSectionList(names);
  EXPECT_EQ(names, (Names{"B", "a", "b"}));  // byte order: upper case first
}

TEST(IniParser, TypedGetters) {
  IniParser doc;
  load(doc, "[A]\ni=12abc\nbig=4294967297\nneg= -3\nhex=0x10\nd=1e3\nt=text here\nw=word\n");

  int i = 99;
  EXPECT_FALSE(doc.OnGetValue("X", "i", &i, 1));
  EXPECT_EQ(i, 99);  // absent section: untouched
  EXPECT_TRUE(doc.OnGetValue("A", "i", &i, 0));
  EXPECT_EQ(i, 12);
  EXPECT_TRUE(doc.OnGetValue("A", "big", &i, 0));
  EXPECT_EQ(i, 1);  // narrowed to 32 bits
  EXPECT_TRUE(doc.OnGetValue("A", "neg", &i, 0));
  EXPECT_EQ(i, -3);
  EXPECT_TRUE(doc.OnGetValue("A", "hex", &i, 0));
  EXPECT_EQ(i, 0);
  i = 99;
  EXPECT_FALSE(doc.OnGetValue("A", "none", &i, 1));  // missing key: stored 0, reported
  EXPECT_EQ(i, 0);
  i = 99;
  EXPECT_TRUE(doc.OnGetValue("A", "none", &i, 0));  // not reported without bind
  EXPECT_EQ(i, 0);

  double d = 7.0;
  EXPECT_FALSE(doc.OnGetValue("X", "d", &d, 0));
  EXPECT_EQ(d, 7.0);
  EXPECT_TRUE(doc.OnGetValue("A", "d", &d, 1));
  EXPECT_EQ(d, 1000.0);
  EXPECT_TRUE(doc.OnGetValue("A", "t", &d, 0));
  EXPECT_EQ(d, 0.0);

  char text[32];
  std::memset(text, 'x', sizeof text);
  EXPECT_TRUE(doc.OnGetValue("A", "t", text, 1));
  EXPECT_STREQ(text, "text here");
  EXPECT_FALSE(doc.OnGetValue("A", "none", text, 1));
  EXPECT_STREQ(text, "");
  char small[5];
  std::memset(small, 'x', sizeof small);
  EXPECT_TRUE(doc.OnGetValue("A", "t", small, sizeof small, 0));
  EXPECT_STREQ(small, "text");
  EXPECT_TRUE(doc.OnGetValue("A", "t", small, 0, 0));  // capacity 0 stores nothing
  EXPECT_STREQ(small, "text");

  std::string out = "keep";
  EXPECT_FALSE(doc.OnGetValue("X", "w", out));
  EXPECT_EQ(out, "keep");
  EXPECT_TRUE(doc.OnGetValue("A", "w", out));
  EXPECT_EQ(out, "word");
  EXPECT_TRUE(doc.OnGetValue("A", "none", out));
  EXPECT_EQ(out, "");
}

TEST(IniParser, SettersAndWriteThrough) {
  IniParser doc;
  load(doc, "[A]\ni=1\nd=2\nt=three\ns=four\n");
  int i = 0;
  double d = 0.0;
  char t[16];
  char s[16];
  ASSERT_TRUE(doc.OnGetValue("A", "i", &i, 1));
  ASSERT_TRUE(doc.OnGetValue("A", "d", &d, 1));
  ASSERT_TRUE(doc.OnGetValue("A", "t", t, 1));
  ASSERT_TRUE(doc.OnGetValue("A", "s", s, 1));

  EXPECT_TRUE(doc.OnSetValue("A", "i", -42));
  EXPECT_EQ(i, -42);
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("i"), "-42");
  EXPECT_TRUE(doc.OnSetValue("A", "d", 0.001));
  EXPECT_EQ(d, 0.001);
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("d"), "0.001");
  EXPECT_TRUE(doc.OnSetValue("A", "d", 1234567.0));
  EXPECT_EQ(d, 1234567.0);  // the variable gets the double, the text six digits
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("d"), "1.23457e+06");
  const std::pair<double, const char*> formats[] = {{100.0, "100"}, {0.5, "0.5"}, {1e-5, "1e-05"},
                                                    {-2.25, "-2.25"}, {123456.0, "123456"}};
  for (const auto& f : formats) {
    doc.OnSetValue("A", "d", f.first);
    EXPECT_EQ(doc.Sections.at("A").OnGetValue("d"), f.second);
  }
  EXPECT_TRUE(doc.OnSetValue("A", "t", "new text"));
  EXPECT_STREQ(t, "new text");
  EXPECT_TRUE(doc.OnSetValue("A", "s", std::string("by value")));
  EXPECT_STREQ(s, "four");  // the std::string form stores the text only
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("s"), "by value");

  EXPECT_FALSE(doc.OnSetValue("X", "i", 5));
  EXPECT_FALSE(doc.OnSetValue("X", "d", 5.0));
  EXPECT_FALSE(doc.OnSetValue("X", "t", "x"));
  EXPECT_FALSE(doc.OnSetValue("X", "s", std::string("x")));
  EXPECT_TRUE(doc.OnSetValue("A", "none", 5));
  EXPECT_TRUE(doc.OnSetValue("A", "none", 5.0));
  EXPECT_TRUE(doc.OnSetValue("A", "none", "x"));
  EXPECT_TRUE(doc.OnSetValue("A", "none", std::string("x")));
  EXPECT_EQ(keys(doc, "A"), (Names{"d", "i", "s", "t"}));

  int unbound = 3;
  load(doc, "[A]\ni=1\n");  // a new load drops the bindings
  EXPECT_TRUE(doc.OnGetValue("A", "i", &unbound, 0));
  EXPECT_TRUE(doc.OnSetValue("A", "i", 8));
  EXPECT_EQ(i, -42);
  EXPECT_EQ(unbound, 1);
}

TEST(IniParser, BoundedTextBindingKeepsItsBound) {
  IniParser doc;
  load(doc, "[A]\nt=0123456789\n");
  char buffer[12];
  std::memset(buffer, '#', sizeof buffer);
  ASSERT_TRUE(doc.OnGetValue("A", "t", buffer, 8, 1));
  EXPECT_STREQ(buffer, "0123456");
  EXPECT_TRUE(doc.OnSetValue("A", "t", "abcdefghijklmnop"));
  EXPECT_STREQ(buffer, "abcdefg");
  EXPECT_EQ(buffer[8], '#');
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("t"), "abcdefghijklmnop");  // the text stays whole

  char wide[32];
  ASSERT_TRUE(doc.Sections.at("A").OnSetValuePtr("t", wide));  // a plain rebinding is unbounded
  EXPECT_TRUE(doc.OnSetValue("A", "t", "abcdefghijklmnop"));
  EXPECT_STREQ(wide, "abcdefghijklmnop");
}

TEST(IniParser, SaveWritesSortedSectionsAndKeys) {
  IniParser doc;
  load(doc, "[b]\nz=1\ny = 2\n[a]\nk=v\nk=w\njunk\n[b]\nq=0\n");
  const std::string path = tempPath("saved.ini");
  ASSERT_TRUE(doc.OnSave(path.c_str()));
  EXPECT_EQ(readFile(path), "[a]\nk=v\n[b]\ny = 2\nz=1\n");

  IniParser again;
  ASSERT_TRUE(again.OnLoad(path.c_str()));
  EXPECT_EQ(sectionNames(again), (Names{"a", "b"}));
  EXPECT_EQ(again.Sections.at("b").OnGetValue("y "), " 2");

  EXPECT_FALSE(doc.OnSave(testing::TempDir().c_str()));  // a directory
  IniParser empty;
  ASSERT_TRUE(empty.OnSave(path.c_str()));
  EXPECT_EQ(readFile(path), "");
}

TEST(IniParser, HostileFilesLoadWithoutHarm) {
  IniParser doc;
  std::mt19937 random(7);
  std::string garbage(1 << 20, '\0');
  for (char& c : garbage) c = static_cast<char>(random());
  load(doc, garbage);

  const std::string huge(8 << 20, 'v');
  load(doc, "[A]\nk=" + huge + "\n" + huge + "=1\n");
  EXPECT_EQ(doc.Sections.at("A").OnGetValue("k").size(), huge.size());
  EXPECT_EQ(doc.Sections.at("A").OnGetValue(huge), "1");

  std::string many;
  for (int n = 0; n < 100000; ++n) many += "[S" + std::to_string(n) + "]\nk=v\n";
  load(doc, many);
  EXPECT_EQ(doc.Sections.size(), 100000u);

  // Positions are 32-bit: a 2 GiB file (sparse, so cheap) is refused rather than scanned.
  const std::string sparse = tempPath("sparse.ini");
  std::ofstream(sparse).put('[');
  ASSERT_EQ(truncate(sparse.c_str(), 2147483648L), 0);
  EXPECT_FALSE(doc.OnLoad(sparse.c_str()));
  EXPECT_TRUE(doc.Sections.empty());
  std::remove(sparse.c_str());

  doc.OnLoad(testing::TempDir().c_str());  // a directory: either outcome, but no crash
  EXPECT_TRUE(doc.Sections.empty());
}
