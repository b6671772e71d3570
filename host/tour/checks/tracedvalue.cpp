// SPDX-License-Identifier: Apache-2.0
#include "tracedvalue.h"

#include <QtCore/QByteArray>

#include <bit>
#include <cmath>
#include <optional>

namespace tour {

namespace {

// Nothing when the text is not of the type.
std::optional<QString> canonicalText(const QString& type, const QString& text)
{
    bool isNumber = false;
    if (type == QLatin1String("impulse")) {
        return text.isEmpty() ? std::optional(QString()) : std::nullopt;
    }
    if (type == QLatin1String("bool")) {
        if (text == QLatin1String("true") || text == QLatin1String("1")) {
            return QStringLiteral("true");
        }
        if (text == QLatin1String("false") || text == QLatin1String("0")) {
            return QStringLiteral("false");
        }
        return std::nullopt;
    }
    if (type == QLatin1String("integer")) {
        const int number = text.toInt(&isNumber);
        return isNumber ? std::optional(QString::number(number)) : std::nullopt;
    }
    if (type == QLatin1String("double")) {
        const double number = text.toDouble(&isNumber);
        if (!isNumber) {
            return std::nullopt;
        }
        // Texts of one number differ ("1e2", "100"); every not-a-number reads alike, whatever its payload was.
        return std::isnan(number) ? QStringLiteral("nan") : QString::number(std::bit_cast<quint64>(number), 16);
    }
    if (type == QLatin1String("string")) {
        return text;
    }
    if (type == QLatin1String("data")) {
        const auto decoded = QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
        return decoded ? std::optional(QString::fromLatin1(decoded.decoded.toHex())) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace

QString TracedValue::key() const
{
    // A text that its type does not allow is still equal to itself, and to nothing that is allowed.
    return type + QLatin1Char('=') + canonicalText(type, text).value_or(QLatin1String("?") + text);
}

bool TracedValue::isValid() const
{
    return canonicalText(type, text).has_value();
}

QString TracedEvent::describe() const
{
    return QStringLiteral("%1/%2 %3 \"%4\" at %5 us").arg(agent, output, value.type, value.text.left(40)).arg(timeUs);
}

} // namespace tour
