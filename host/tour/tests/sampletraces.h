// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_SAMPLETRACES_H
#define CORVANE_TOUR_SAMPLETRACES_H

#include "journal.h"
#include "recordcheck.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <algorithm>

// A recording as it should be, made up from two agents, for tests to break in one place each.
// Times of journals are microseconds since a made-up day; the recording starts at `startUs` and has one pause.
struct SampleTraces
{
    static constexpr qint64 startUs = 1'000'000'000;
    static constexpr qint64 pauseUs = startUs + 4'000'000;
    static constexpr qint64 resumeUs = startUs + 6'000'000;
    static constexpr qint64 stopUs = startUs + 10'000'000;
    static constexpr qint64 otherClockUs = -1234; // how far the second agent's clock is off the recorder's

    struct Row
    {
        QByteArray agent;
        QByteArray output;
        quint64 sequence = 0;
        qint64 timeUs = 0; // of the journal, or of the record
        QByteArray type;
        QByteArray value;
    };

    QList<Row> publications;
    QList<Row> initialValues;
    QList<Row> events;
    qint64 durationUs = stopUs - startUs - (resumeUs - pauseUs);

    // Pump publishes a pressure every 97 ms and a state every second, Valve an impulse every 390 ms; from 3 s before
    // the start to 1 s after the end.
    SampleTraces()
    {
        quint64 number = 0;
        for (qint64 timeUs = startUs - 3'000'000; timeUs < stopUs + 1'000'000; timeUs += 97'013) {
            ++number;
            _publish({ "Pump", "pressure", number, timeUs, "double",
                QByteArray::number(1.5 + 0.001 * double(number), 'g', 17) });
            if (number % 10 == 1) {
                const quint64 turn = number / 10 + 1;
                _publish({ "Pump", "running", turn, timeUs + 7, "bool", turn % 2 ? "true" : "false" });
            }
            if (number % 4 == 1) {
                _publish({ "Valve", "opened", number / 4 + 1, timeUs + 50'000 + otherClockUs, "impulse", "" });
            }
        }
        std::stable_sort(
            events.begin(), events.end(), [](const Row& left, const Row& right) { return left.timeUs < right.timeUs; });
    }

    QByteArray journalText() const
    {
        QByteArray text;
        for (const Row& row : publications) {
            text += row.agent + ';' + row.output + ';' + QByteArray::number(row.sequence) + ';'
                + QByteArray::number(row.timeUs) + ';' + row.type + ';' + row.value + '\n';
        }
        return text;
    }

    QByteArray recordText() const
    {
        QByteArray text = ";0;record;version;string;1\n;0;record;name;string;sample\n;0;record;duration_us;string;"
            + QByteArray::number(durationUs) + '\n';
        for (const Row& row : initialValues) {
            text += row.agent + ";0;initial;" + row.output + ';' + row.type + ';' + row.value + '\n';
        }
        for (const Row& row : events) {
            text += row.agent + ';' + QByteArray::number(row.timeUs) + ";output;" + row.output + ';' + row.type + ';'
                + row.value + '\n';
        }
        return text;
    }

    static tour::RecordingWindow window()
    {
        tour::RecordingWindow window;
        window.start = { startUs - 10'000, startUs + 40'000 };
        window.pause = tour::Moment { pauseUs - 5'000, pauseUs + 60'000 };
        window.resume = tour::Moment { resumeUs - 5'000, resumeUs + 60'000 };
        window.stop = { stopUs - 5'000, stopUs + 60'000 };
        return window;
    }

private:
    void _publish(const Row& publication)
    {
        publications.append(publication);
        Row recorded = publication;
        const qint64 clock = publication.agent == "Valve" ? otherClockUs : 0;
        const qint64 trueUs = publication.timeUs - clock;
        recorded.timeUs = trueUs - startUs - (trueUs >= resumeUs ? resumeUs - pauseUs : 0);
        if (trueUs < startUs) {
            if (recorded.type != "impulse") {
                const auto isSame
                    = [&](const Row& row) { return row.agent == recorded.agent && row.output == recorded.output; };
                initialValues.removeIf(isSame);
                initialValues.append(recorded);
            }
        } else if ((trueUs < pauseUs || trueUs >= resumeUs) && trueUs < stopUs) {
            events.append(recorded);
        }
    }
};

#endif
