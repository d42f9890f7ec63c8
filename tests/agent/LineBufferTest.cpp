#include "agent/LineBuffer.h"

#include <gtest/gtest.h>

namespace kelmo {

TEST(LineBuffer, addAnySplitGivesTheSameLines)
{
    const QByteArray stream("first\n\nthird with ü\r\nlast\nwaits");
    const QByteArrayList wanted{"first", "", "third with ü\r", "last"};
    for (int chunk = 1; chunk <= stream.size(); ++chunk) {
        LineBuffer buffer(100);
        QByteArrayList lines;
        for (qsizetype at = 0; at < stream.size(); at += chunk)
            lines += buffer.add(stream.mid(at, chunk));
        EXPECT_EQ(lines, wanted) << chunk;
        EXPECT_EQ(buffer.add("\n"), QByteArrayList{"waits"});
    }
}

TEST(LineBuffer, addLineOverTheLimitLeavesItOutAndHoldsNothing)
{
    LineBuffer buffer(4);
    EXPECT_EQ(buffer.add("1234\n12345\n"), QByteArrayList{"1234"});
    EXPECT_TRUE(buffer.add("123").isEmpty());
    EXPECT_TRUE(buffer.add("45").isEmpty());
    EXPECT_EQ(buffer.waiting(), 0);
    EXPECT_EQ(buffer.add(QByteArray(QByteArray(1000, 'x') + "\nnext\n")), QByteArrayList{"next"});
    EXPECT_TRUE(buffer.add("old").isEmpty());
    buffer.clear();
    EXPECT_EQ(buffer.add("new\n"), QByteArrayList{"new"});
}

} // namespace kelmo
