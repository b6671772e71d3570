// SPDX-License-Identifier: Apache-2.0
#include "chunk/checksum.h"
#include "chunk/packedchunk.h"
#include "datatools.h"

#include <map>

using namespace recorder;
using namespace recorder::testing;

namespace {

std::string pack(const std::vector<Event>& events, ChunkKind kind = ChunkKind::Events, std::uint64_t sequence = 0)
{
    ChunkBuilder builder;
    std::map<std::pair<std::string, std::string>, std::uint32_t> numbers;
    for (const Event& event : events) {
        const auto name = std::pair(event.agent, event.output);
        if (!numbers.contains(name)) {
            numbers[name] = builder.declare(event.agent, event.output);
        }
        builder.add(numbers[name], event.timeUs, event.value);
    }
    return builder.finish(kind, sequence);
}

std::vector<Event> unpack(const std::string& packed, std::string& reason)
{
    ChunkHeader header;
    std::vector<EventView> views;
    std::vector<Event> events;
    if (unpackChunk(packed, header, views, reason)) {
        for (const EventView& view : views) {
            events.emplace_back(view);
        }
    }
    return events;
}

// Sixteen bytes a line, so that a change of the format shows where it is.
QByteArray hexLines(const std::string& bytes)
{
    QByteArray lines;
    for (std::size_t at = 0; at < bytes.size(); at += 16) {
        lines += QByteArray::fromStdString(bytes.substr(at, 16)).toHex(' ') + '\n';
    }
    return lines;
}

} // namespace

class TestPackedChunk : public QObject
{
    Q_OBJECT

private slots:
    void theChecksumIsThePublishedOne()
    {
        // The check value of CRC-32C, and that of thirty-two zero bytes.
        QCOMPARE(crc32c("123456789"), 0xE3069283U);
        QCOMPARE(crc32c(std::string(32, '\0')), 0x8A9136AAU);
        QCOMPARE(crc32c("6789", crc32c("12345")), 0xE3069283U);
    }
    void theChecksumIsTheSameOnEveryProcessor()
    {
        std::string bytes;
        for (int i = 0; i < 300; ++i) {
            bytes += static_cast<char>(i * 31 + i / 7);
            const std::string_view all = bytes;
            for (const std::size_t begin : { std::size_t(0), bytes.size() / 3 }) {
                const auto start = static_cast<std::uint32_t>(i) * 0x01234567U;
                QCOMPARE(crc32c(all.substr(begin), start), crc32cByTables(all.substr(begin), start));
            }
        }
    }

    void theFormatIsTheDocumentedOne()
    {
        const std::vector<Event> events = {
            Event(1'000'000, "pump", "pressure", ValueView::fromDouble(1.5)),
            Event(1'000'250, "pump", "running", ValueView::fromBool(true)),
            Event(1'000'250, "tank", "level", ValueView::fromInteger(-7)),
            Event(999'999, "tank", "alarm", ValueView::impulse()),
            Event(1'000'300, "pump", "pressure", ValueView::fromDouble(-0.0)),
            Event(1'300'000, "tank", "label", ValueView::fromString("süd")),
            Event(1'300'000, "tank", "image", ValueView::fromData(std::string_view("\0\xFF", 2))),
        };
        QVERIFY(matchesGolden(QStringLiteral("chunk-v1.hex"), hexLines(pack(events, ChunkKind::Events, 42))));
    }

    void whatIsPackedComesBack()
    {
        std::vector<Event> events;
        std::int64_t timeUs = 0;
        for (const Value& value : awkwardValues()) {
            timeUs += 17;
            events.emplace_back(timeUs, "agent", "output " + std::to_string(timeUs % 3), value);
        }
        std::string reason;
        RR_SAME_EVENTS(unpack(pack(events), reason), events);
        QCOMPARE(reason, std::string());
    }

    void randomEventsComeBack()
    {
        for (std::uint64_t seed = 1; seed <= 20; ++seed) {
            std::vector<Event> events = randomEvents(seed, 300);
            std::shuffle(events.begin(), events.end(), std::mt19937_64(seed)); // times may go back
            std::string reason;
            RR_SAME_EVENTS(unpack(pack(events), reason), events);
        }
    }

    void extremeTimesComeBack()
    {
        const auto most = std::numeric_limits<std::int64_t>::max();
        const std::vector<Event> events = { Event(0, "a", "o", ValueView::impulse()),
            Event(most, "a", "o", ValueView::impulse()), Event(0, "a", "o", ValueView::impulse()) };
        std::string reason;
        RR_SAME_EVENTS(unpack(pack(events), reason), events);
    }

    void theHeaderTellsTimesCountAndAgents()
    {
        const std::string packed
            = pack({ Event(30, "b", "o", ValueView::impulse()), Event(10, "a", "o", ValueView::impulse()),
                       Event(20, "b", "p", ValueView::impulse()) },
                ChunkKind::State, 9);
        ChunkHeader header;
        std::string reason;
        QVERIFY2(readChunkHeader(packed, header, reason), reason.c_str());
        QCOMPARE(header.sequence, 9U);
        QCOMPARE(header.firstUs, 10);
        QCOMPARE(header.lastUs, 30);
        QCOMPARE(header.count, 3U);
        QVERIFY(header.kind == ChunkKind::State);
        QVERIFY((agentsOfChunk(packed) == std::vector<std::string> { "b", "a" }));
    }

    void anEmptyStateIsAChunkToo()
    {
        std::string reason;
        QVERIFY(unpack(pack({}, ChunkKind::State), reason).empty());
        QCOMPARE(reason, std::string());
    }

    void everyChangedByteIsSeen()
    {
        const std::string good = pack(randomEvents(7, 40));
        for (std::size_t at = 0; at < good.size(); ++at) {
            std::string bad = good;
            bad[at] = static_cast<char>(bad[at] ^ (1 << (at % 8)));
            std::string reason;
            QVERIFY2(unpack(bad, reason).empty(), std::to_string(at).c_str());
            QVERIFY(!reason.empty());
        }
    }

    void everyCutIsSeen()
    {
        const std::string good = pack(randomEvents(8, 40));
        for (std::size_t size = 0; size < good.size(); ++size) {
            std::string reason;
            QVERIFY(unpack(good.substr(0, size), reason).empty());
            QVERIFY(!reason.empty());
        }
        std::string reason;
        QVERIFY(unpack(good + '\0', reason).empty());
    }

    // A right checksum over wrong contents: from a faulty writer, or on purpose.
    void nonsenseWithARightChecksumIsRefused()
    {
        std::mt19937_64 random(11);
        const std::string good = pack(randomEvents(9, 40));
        int refused = 0;
        for (int round = 0; round < 3000; ++round) {
            std::string bad = good;
            const std::size_t at = packedChunkHeaderBytes + random() % (bad.size() - packedChunkHeaderBytes);
            bad[at] = static_cast<char>(random());
            const std::string_view whole = bad;
            const std::uint32_t checksum = crc32c(whole.substr(packedChunkHeaderBytes), crc32c(whole.substr(0, 48)));
            for (std::size_t i = 0; i < 4; ++i) {
                bad[48 + i] = static_cast<char>((checksum >> (8 * i)) & 0xFF);
            }
            std::string reason;
            unpack(bad, reason); // must neither crash nor read beyond its bytes
            refused += reason.empty() ? 0 : 1;
        }
        QVERIFY(refused > 100);
    }

    void whatIsNoTextIsRefused()
    {
        using namespace std::string_literals;
        for (const std::string& bad : { "\xFF"s, "a\0b"s }) {
            for (const Event& event : { Event(0, bad, "o", ValueView::impulse()),
                     Event(0, "a", bad, ValueView::impulse()), Event(0, "a", "o", ValueView::fromString(bad)) }) {
                std::string reason;
                QVERIFY(unpack(pack({ event }), reason).empty());
                QVERIFY2(reason.find("malformed") != std::string::npos, reason.c_str());
            }
            std::string reason;
            QCOMPARE(unpack(pack({ Event(0, "a", "o", ValueView::fromData(bad)) }), reason).size(), std::size_t(1));
        }
    }

    void timesBeforeTheRecordAreRefused()
    {
        std::string reason;
        QVERIFY(unpack(pack({ Event(-1, "a", "o", ValueView::impulse()) }), reason).empty());
        QVERIFY2(reason.find("malformed") != std::string::npos, reason.c_str());
    }

    // Twelve megabytes that would take three hundred.
    void moreEventsThanAnyRecorderPacksAreRefused()
    {
        ChunkBuilder builder;
        const std::uint32_t output = builder.declare("a", "o");
        for (int i = 0; i <= 1 << 22; ++i) {
            builder.add(output, 0, ValueView::impulse());
        }
        std::string reason;
        QVERIFY(unpack(builder.finish(ChunkKind::Events, 0), reason).empty());
        QVERIFY2(reason.find("4194305 events") != std::string::npos, reason.c_str());
    }

    void aNewerVersionIsNamed()
    {
        std::string newer = pack({});
        newer[4] = 2;
        std::string reason;
        unpack(newer, reason);
        QVERIFY2(reason.find("version 2") != std::string::npos, reason.c_str());
    }
};

QTEST_GUILESS_MAIN(TestPackedChunk)
#include "tst_packedchunk.moc"
