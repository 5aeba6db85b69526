#include "Search/SearchWordRows.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(AddressOfSearch, holdsTheTextPercentEncodedAsTheWebSearchDoes) {
    EXPECT_EQ(addressOfSearch(u"https://x.org/?q=%s"_s, u"a b/c?d=1&e+“f”%s#g"_s),
              u"https://x.org/?q=a%20b/c?d=1&e+%E2%80%9Cf%E2%80%9D%25s%23g");
}

TEST(AddressOfSearch, holdsTheTextWhereverItIsMarked) {
    EXPECT_EQ(addressOfSearch(u"https://x.org/%s/find?q=%s"_s, u"é"_s),
              u"https://x.org/%C3%A9/find?q=%C3%A9");
}
