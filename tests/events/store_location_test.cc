#include "events/store_location.h"

#include <gtest/gtest.h>

#include "base/text.h"

namespace zarn::events {
namespace {

TEST(StoreLocationTest, NamesTheFileAfterEnvironmentProjectAndHost) {
  EXPECT_EQ(storeFileName({"shop", "production", ""}),
            "events-production-shop-CBF29CE484222325.sqlite");
  EXPECT_NE(storeFileName({"shop", "production", "a"}), storeFileName({"shop", "production", "b"}));
  EXPECT_EQ(storeFileName({"../a.b c", "de\u0301-\u4e2d7\U0001F600", ""}),
            "events-de\u0301-\u4e2d7_-___a_b_c-CBF29CE484222325.sqlite");
  EXPECT_EQ(storeFileName({"a\xff\xc3", "", ""}), "events--a__-CBF29CE484222325.sqlite");
}

TEST(StoreLocationTest, CutsLongNamesAtCharactersAndAtBytes) {
  const std::string ascii(100, 'a');
  EXPECT_EQ(storeFileName({ascii, "e", ""}),
            "events-e-" + std::string(80, 'a') + "-CBF29CE484222325.sqlite");
  std::string wide;
  for (int i = 0; i < 100; ++i) wide += "\U00020000";
  for (const std::string& environment : {std::string("e"), wide}) {
    const std::string name = storeFileName({wide, environment, "host"});
    EXPECT_LE(name.size() + std::string("-journal").size(), 255u);
    EXPECT_GE(name.size(), 200u);
    EXPECT_TRUE(base::isValidUtf8(name));
  }
}

TEST(StoreLocationTest, KnowsItsFiles) {
  for (const char* name :
       {"events.sqlite", "events.sqlite-wal", "events.sqlite-shm", "events-a-b-C.sqlite",
        "events-a-b-C.sqlite-wal", "events.sqlite-journal"}) {
    EXPECT_TRUE(isStoreFileName(name)) << name;
  }
  for (const char* name : {"events", ".lock", "events-a.json", "my-events-a.sqlite",
                           "events.sqlite-wal-wal", "events-a.sqlite-other"}) {
    EXPECT_FALSE(isStoreFileName(name)) << name;
  }
}

}  // namespace
}  // namespace zarn::events
