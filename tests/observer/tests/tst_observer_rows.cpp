// SPDX-License-Identifier: Apache-2.0
#include "rows.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

qny_publication_t publicationOf(qny_value_type_t type, const void* value, size_t size)
{
    qny_publication_t publication {};
    publication.agent_uuid = "a-uuid";
    publication.agent_name = "Pump A";
    publication.output = "pressure";
    publication.type = type;
    publication.value = value;
    publication.size = size;
    publication.time_us = 1000;
    publication.received_us = 1010;
    publication.sequence = 7;
    return publication;
}

} // namespace

TEST(ObserverRows, TellEverythingOfAPublication)
{
    const double value = 0.1;
    qny_publication_t publication = publicationOf(QNY_DOUBLE_T, &value, sizeof value);
    publication.stand_in = true;
    publication.lost = 3;
    EXPECT_EQ(rowOf(publication), "Pump A;pressure;7;1000;1010;double;0.1;1;0;3\n");
    publication.last_value = true;
    publication.stand_in = false;
    EXPECT_EQ(rowOf(publication), "Pump A;pressure;7;1000;1010;double;0.1;0;1;3\n");
}

TEST(ObserverRows, TellEachTypeOfValue)
{
    const auto value = [](qny_value_type_t type, const void* data, size_t size) {
        const std::string row = rowOf(publicationOf(type, data, size));
        return row.substr(std::string("Pump A;pressure;7;1000;1010;").size());
    };
    const bool yes = true;
    const int32_t number = -12;
    const double infinite = -std::numeric_limits<double>::infinity();
    const double none = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(value(QNY_BOOL_T, &yes, sizeof yes), "bool;true;0;0;0\n");
    EXPECT_EQ(value(QNY_INTEGER_T, &number, sizeof number), "integer;-12;0;0;0\n");
    EXPECT_EQ(value(QNY_DOUBLE_T, &infinite, sizeof infinite), "double;-inf;0;0;0\n");
    EXPECT_EQ(value(QNY_DOUBLE_T, &none, sizeof none), "double;nan;0;0;0\n");
    EXPECT_EQ(value(QNY_IMPULSE_T, nullptr, 0), "impulse;;0;0;0\n");
    EXPECT_EQ(value(QNY_STRING_T, "a;\"b\"", 6), "string;\"a;\"\"b\"\"\";0;0;0\n");
    EXPECT_EQ(value(QNY_STRING_T, "", 1), "string;\"\";0;0;0\n");
    EXPECT_EQ(value(QNY_DATA_T, "M", 1), "data;TQ==;0;0;0\n");
    EXPECT_EQ(value(QNY_DATA_T, "Man", 3), "data;TWFu;0;0;0\n");
    EXPECT_EQ(value(QNY_DATA_T, "Manx\xFF", 5), "data;TWFueP8=;0;0;0\n");
}

TEST(ObserverRows, UnderstandWhatIsToBeMapped)
{
    const std::optional<MapRequest> request = parseMapRequest("Pump A/flow rate/double");
    ASSERT_TRUE(request);
    EXPECT_EQ(request->agent, "Pump A");
    EXPECT_EQ(request->output, "flow rate");
    EXPECT_EQ(request->type, QNY_DOUBLE_T);
}

TEST(ObserverRows, RefuseWhatCannotBeMapped)
{
    EXPECT_FALSE(parseMapRequest(""));
    EXPECT_FALSE(parseMapRequest("Pump A"));
    EXPECT_FALSE(parseMapRequest("Pump A/pressure"));
    EXPECT_FALSE(parseMapRequest("/pressure/double"));
    EXPECT_FALSE(parseMapRequest("Pump A//double"));
    EXPECT_FALSE(parseMapRequest("Pump A/pressure/colour"));
}
