#include "toolkit/cbase.h"

#include <gtest/gtest.h>

using namespace Plexel;

TEST(GeometryTest, RightAndBottomEdgesAreOutsideARectangle)
{
    CRect r(10, 20, 30, 40);
    EXPECT_TRUE(r.pointInside({10, 20}));
    EXPECT_TRUE(r.pointInside({29, 39}));
    EXPECT_FALSE(r.pointInside({30, 25}));
    EXPECT_FALSE(r.pointInside({15, 40}));
    EXPECT_FALSE(r.pointInside({9, 25}));
}

TEST(GeometryTest, BoundOfRectanglesThatDoNotMeetIsEmptyNeverNegative)
{
    CRect a(0, 0, 10, 10);
    a.bound(CRect(20, 5, 30, 8));
    EXPECT_EQ(a.left, 20);
    EXPECT_EQ(a.right, 20);
    EXPECT_GE(a.height(), 0);
    EXPECT_TRUE(a.isEmpty());

    CRect b(0, 0, 10, 10);
    b.bound(CRect(2, 30, 8, 40));
    EXPECT_EQ(b.top, b.bottom);
    EXPECT_TRUE(b.isEmpty());

    CRect c(0, 0, 10, 10);
    c.bound(CRect(5, -5, 20, 5));
    EXPECT_EQ(c, CRect(5, 0, 10, 5));

    CRect u(0, 0, 10, 10);
    u.unite(CRect(-5, 5, 3, 20));
    EXPECT_EQ(u, CRect(-5, 0, 10, 20));
}

TEST(GeometryTest, CornersAndSizeSettersTouchOnlyTheirFields)
{
    CRect r(1, 2, 3, 4);
    r.setBottomLeft({-1, 9});
    EXPECT_EQ(r, CRect(-1, 2, 3, 9));
    r.setSize({10, 20});
    EXPECT_EQ(r, CRect(-1, 2, 9, 22));
    EXPECT_EQ(r.size(), CPoint(10, 20));
    r.offset(1, -2);
    EXPECT_EQ(r.topRight(), CPoint(10, 0));
}
