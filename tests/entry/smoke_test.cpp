#include "support.h"
#include "entry/routes.h"
TEST(Smoke, TableHasAllRows) { EXPECT_EQ(pix::RouteTable().size(), 261u); }
