// SPDX-License-Identifier: Apache-2.0
#include "speed.h"

#include <QLocale>

Speed::Speed(double value, QObject* parent)
    : QObject(parent)
    , _value(value)
{
}

Speed::~Speed() = default;

double Speed::value() const
{
    return _value;
}

QString Speed::label() const
{
    return QLocale().toString(_value, 'g', QLocale::FloatingPointShortest) + QChar(0x00D7);
}
