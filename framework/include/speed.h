// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QObject>

/// One replay speed to choose from, as a factor of real time.
class CORVANE_EXPORT Speed : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double value READ value CONSTANT)
    /// The factor as lists show it: "0.5×", "2×".
    Q_PROPERTY(QString label READ label CONSTANT)

public:
    explicit Speed(double value, QObject* parent = nullptr);
    ~Speed() override;

    double value() const;
    QString label() const;

private:
    const double _value;
};
