// SPDX-License-Identifier: Apache-2.0
#include "countingrecord.h"

#include <recordfile.h>

#include <QtCore/QRegularExpression>

#include <algorithm>

using namespace tour;

namespace {

constexpr qsizetype INTERVAL_US = 1'000;

bool areSame(const TracedEvent& left, const TracedEvent& right)
{
    return left.agent == right.agent && left.output == right.output && left.timeUs == right.timeUs
        && left.value.key() == right.value.key();
}

} // namespace

QByteArray countingRecord(qsizetype events)
{
    QByteArray text = ";0;record;version;integer;1\n"
                      ";0;record;name;string;counting\n"
                      ";0;record;start_date;string;2020-01-31T09:30:00.000000Z\n"
                      ";0;record;duration_us;integer;"
        + QByteArray::number(events * INTERVAL_US)
        + "\n;0;record;description;string;\"\"\n"
          ";0;record;completeness;string;\"{\"\"version\"\":1,\"\"complete\"\":true,\"\"remarks\"\":[],\"\"outputs\"\":"
          "["
          "{\"\"agent\"\":\"\"Counter\"\",\"\"output\"\":\"\"count\"\",\"\"stored\"\":"
        + QByteArray::number(events)
        + ",\"\"lost\"\":{\"\"network\"\":0,\"\"queue\"\":0,\"\"store\"\":0},\"\"longest_gap_us\"\":"
        + QByteArray::number(INTERVAL_US)
        + "}]}\"\n"
          "Counter;0;agent;;string;\"{\"\"outputs\"\":[{\"\"name\"\":\"\"count\"\",\"\"type\"\":\"\"integer\"\"}]}\"\n";
    for (qsizetype number = 1; number <= events; ++number) {
        text += "Counter;" + QByteArray::number(number * INTERVAL_US) + ";output;count;integer;"
            + QByteArray::number(number) + '\n';
    }
    return text;
}

QString checkBrokenImport(const QByteArray& whole, const QByteArray& part)
{
    RecordFile sent;
    RecordFile stored;
    QString error;
    if (!sent.read(whole, &error) || !stored.read(part, &error)) {
        return error;
    }
    const qsizetype all = sent.events().size();
    const qsizetype came = stored.events().size();
    const QRegularExpression remark(QStringLiteral("Imported in part: (\\d+) of %1 events did not come").arg(all));
    const qsizetype reported
        = remark.match(stored.facts().value(QStringLiteral("completeness"))).captured(1).toLongLong();
    const QString account
        = QStringLiteral("%1 of the file, %2 stored, %3 reported missing").arg(all).arg(came).arg(reported);
    qInfo("%s", qPrintable(account));
    if (came == 0 || came >= all
        || !std::equal(stored.events().cbegin(), stored.events().cend(), sent.events().cbegin(), areSame)) {
        return account + QStringLiteral("; what is stored is not the beginning of the file");
    }
    return came + reported == all ? QString() : account;
}
