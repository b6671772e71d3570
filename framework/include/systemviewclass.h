// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QObject>

/// A class of agents. Owned by the Library, and never removed from it.
class CORVANE_EXPORT SystemViewClass : public QObject
{
    Q_OBJECT
    /// The family that its agents carry; empty for the class of agents without a family.
    Q_PROPERTY(QString familyUuid READ familyUuid CONSTANT)
    /// New instances are named after it.
    Q_PROPERTY(QString name READ name CONSTANT)

public:
    SystemViewClass(const QString& familyUuid, const QString& name, QObject* parent = nullptr);
    ~SystemViewClass() override;

    QString familyUuid() const;
    QString name() const;

private:
    const QString _familyUuid;
    const QString _name;
};
