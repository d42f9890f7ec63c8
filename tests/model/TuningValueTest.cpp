#include "model/TuningValue.h"

#include <gtest/gtest.h>

using namespace kelmo;

TEST(TuningValue, readTakesPlainDecimalNumbersOnly)
{
    const std::pair<QByteArray, double> cases[] = {{"30", 30}, {"12.5", 12.5}, {"-4", -4}, {"+.5", .5}, {"abc", 7},
        {"", 7}, {" 30", 7}, {"30\n", 7}, {"30ms", 7}, {"1e3", 7}, {"0x10", 7}, {"nan", 7}, {"inf", 7}, {"1,5", 7},
        {"1.2.3", 7}, {".", 7}, {"-", 7}, {"\xd9\xa3", 7}, {QByteArray(400, '9'), 7}};
    for (const auto& [text, value] : cases) {
        qputenv("KELMO_TEST_TUNING", text);
        EXPECT_EQ(TuningValue::read("KELMO_TEST_TUNING", 7), value) << text.toStdString();
    }
    qunsetenv("KELMO_TEST_TUNING");
    EXPECT_EQ(TuningValue::read("KELMO_TEST_TUNING", 7), 7);
}
