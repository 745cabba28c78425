// Bindings belong to their document: documents in different threads share nothing, a bound
// goes with a copied document, and nothing survives a reload.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "config/IniParser.h"
#include "tests/TestArm.h"

TEST(IniBindings, DocumentsInTwoThreadsShareNothing) {
  const std::string path = tk::tempFile("bindings-threads.ini", "[A]\nt=0123456789\nn=5\n");
  auto work = [&path](int seed, int* failures) {
    for (int round = 0; round < 300; ++round) {
      IniParser doc;
      char text[6];
      int n = 0;
      if (!doc.OnLoad(path.c_str()) || !doc.OnGetValue("A", "t", text, sizeof text, 1) ||
          !doc.OnGetValue("A", "n", &n, 1) || !doc.OnSetValue("A", "n", seed + round) ||
          !doc.OnSetValue("A", "t", "abcdefghij") || n != seed + round ||
          std::strcmp(text, "abcde") != 0)
        ++*failures;
    }
  };
  int failures[2] = {0, 0};
  std::thread first(work, 0, &failures[0]);
  std::thread second(work, 1000, &failures[1]);
  first.join();
  second.join();
  EXPECT_EQ(failures[0] + failures[1], 0);
}

TEST(IniBindings, BoundTravelsWithTheDocumentAndDiesWithIt) {
  const std::string path = tk::tempFile("bindings-life.ini", "[A]\nt=x\n");
  IniParser doc;
  ASSERT_TRUE(doc.OnLoad(path.c_str()));
  char buffer[16];
  std::memset(buffer, '#', sizeof buffer);
  ASSERT_TRUE(doc.OnGetValue("A", "t", buffer, 4, 1));

  IniParser copy = doc;  // the copy writes through within the same bound
  EXPECT_TRUE(copy.OnSetValue("A", "t", "0123456789"));
  EXPECT_STREQ(buffer, "012");
  EXPECT_EQ(buffer[4], '#');
  std::vector<std::string> keys;
  copy.Sections.at("A").OnGetKeyList(keys);
  EXPECT_EQ(keys, std::vector<std::string>{"t"});  // the bound's record stays out of sight
  ASSERT_TRUE(copy.OnSave(path.c_str()));
  std::ifstream saved(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(saved), {}), "[A]\nt=0123456789\n");

  // A reload ends every binding: the old buffer is left alone, and a new unbounded binding of
  // the same buffer carries no bound of the old document.
  ASSERT_TRUE(doc.OnLoad(path.c_str()));
  EXPECT_TRUE(doc.OnSetValue("A", "t", "zz"));
  EXPECT_STREQ(buffer, "012");
  ASSERT_TRUE(doc.OnGetValue("A", "t", buffer, 1));
  EXPECT_TRUE(doc.OnSetValue("A", "t", "abcdefghij"));
  EXPECT_STREQ(buffer, "abcdefghij");

  // A record inserted by hand can only narrow a bound, never widen it.
  ASSERT_TRUE(doc.OnGetValue("A", "t", buffer, 6, 1));
  doc.Sections.at("A").OnInsertItem("=t=99", "");
  EXPECT_TRUE(doc.OnSetValue("A", "t", "0123456789"));
  EXPECT_STREQ(buffer, "01234");
}
