// SPDX-License-Identifier: Apache-2.0
#include "common/journal.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

using namespace samples;

namespace {

std::string number(double value)
{
    return encodedValue(QNY_DOUBLE_T, &value, sizeof(value));
}

std::string text(const std::string& value)
{
    return encodedValue(QNY_STRING_T, value.c_str(), value.size() + 1);
}

std::string data(const std::string& bytes)
{
    return encodedValue(QNY_DATA_T, bytes.data(), bytes.size());
}

} // namespace

TEST(JournalValue, IsTheShortestDoubleThatReadsBackTheSame)
{
    EXPECT_EQ(number(0.1), "0.1");
    EXPECT_EQ(number(-0.0), "-0");
    EXPECT_EQ(number(1e300), "1e+300");
    EXPECT_EQ(number(std::nan("")), "nan");
    EXPECT_EQ(number(-std::nan("")), "nan");
    EXPECT_EQ(number(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(number(-std::numeric_limits<double>::infinity()), "-inf");
    const double awkward = 0.1 + 0.2;
    EXPECT_EQ(std::stod(number(awkward)), awkward);
}

TEST(JournalValue, IsQuotedWhereASeparatorWouldMislead)
{
    EXPECT_EQ(text("plain, with comma"), "plain, with comma");
    EXPECT_EQ(text(""), "\"\"");
    EXPECT_EQ(text("a;b"), "\"a;b\"");
    EXPECT_EQ(text("say \"no\""), "\"say \"\"no\"\"\"");
    EXPECT_EQ(text("two\nlines"), "\"two\nlines\"");
    EXPECT_EQ(text("\xE6\xB0\xB4"), "\xE6\xB0\xB4");
}

TEST(JournalValue, OfDataIsBase64)
{
    EXPECT_EQ(data(""), "");
    EXPECT_EQ(data("f"), "Zg==");
    EXPECT_EQ(data("fo"), "Zm8=");
    EXPECT_EQ(data("foo"), "Zm9v");
    EXPECT_EQ(data("foobar"), "Zm9vYmFy");
    EXPECT_EQ(data(std::string("\xFF\xFE\x00", 3)), "//4A");
}

TEST(JournalLine, HoldsThePublicationInSixFields)
{
    const std::int32_t value = -7;
    EXPECT_EQ(journalLine("Pump; A", "starts", 12, 1700000000000001, QNY_INTEGER_T, &value, sizeof(value)),
        "\"Pump; A\";starts;12;1700000000000001;integer;-7\n");
    EXPECT_EQ(journalLine("Tank", "overflow", 1, 5, QNY_IMPULSE_T, nullptr, 0), "Tank;overflow;1;5;impulse;\n");
    const bool yes = true;
    EXPECT_EQ(journalLine("P", "running", 1, 5, QNY_BOOL_T, &yes, sizeof(yes)), "P;running;1;5;bool;true\n");
}

TEST(Journal, CanBeReadWhileItGrowsAndIsAppendedTo)
{
    const auto path = std::filesystem::temp_directory_path() / ("journal_test_" + std::to_string(::getpid()));
    const auto content = [&path] {
        std::ifstream file(path);
        std::ostringstream all;
        all << file.rdbuf();
        return all.str();
    };
    std::string error;
    {
        Journal journal;
        ASSERT_TRUE(journal.open(path, &error)) << error;
        journal.write("one\n");
        EXPECT_TRUE(journal.flush());
        EXPECT_EQ(content(), "one\n");
    }
    {
        Journal journal;
        ASSERT_TRUE(journal.open(path, &error)) << error;
        journal.write("two\n");
        EXPECT_TRUE(journal.flush());
    }
    EXPECT_EQ(content(), "one\ntwo\n");
    std::filesystem::remove(path);
}

TEST(Journal, SaysWhyItCannotBeOpenedOrWritten)
{
    std::string error;
    Journal nowhere;
    EXPECT_FALSE(nowhere.open("/nowhere/at/all", &error));
    EXPECT_EQ(error, "No such file or directory");
    EXPECT_FALSE(nowhere.isOpen());

    Journal full;
    ASSERT_TRUE(full.open("/dev/full", &error)) << error;
    full.write("one\n");
    EXPECT_FALSE(full.flush());
    EXPECT_FALSE(full.flush()) << "a loss is not forgotten";
}
