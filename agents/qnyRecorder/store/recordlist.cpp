// SPDX-License-Identifier: Apache-2.0
#include "../dates.h"
#include "store.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>

namespace recorder {

std::string newRecordUuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
}

std::string recordsToJson(const std::vector<RecordSummary>& records)
{
    QJsonArray array;
    for (const RecordSummary& record : records) {
        QJsonObject object;
        object.insert(u"uuid", QString::fromStdString(record.uuid));
        object.insert(u"name", QString::fromStdString(record.name));
        object.insert(u"start_date", QString::fromStdString(toListDate(record.startUs)));
        object.insert(u"end_date",
            record.isRecording ? QString()
                               : QString::fromStdString(toListDate(momentOf(record.startUs, record.durationUs))));
        object.insert(u"duration_us", static_cast<qint64>(record.durationUs));
        array.append(object);
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact).toStdString();
}

} // namespace recorder
