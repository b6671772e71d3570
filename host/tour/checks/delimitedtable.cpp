// SPDX-License-Identifier: Apache-2.0
#include "delimitedtable.h"

#include <QtCore/QStringDecoder>

namespace tour {

namespace {

class Reader
{
public:
    Reader(const QString& text, QList<TableRow>* rows)
        : _text(text)
        , _rows(rows)
    {
    }

    bool read(QString* error)
    {
        while (_at < _text.size()) {
            if (!_readRow()) {
                *error = QStringLiteral("line %1, column %2: %3").arg(_line).arg(_at - _lineStart + 1).arg(_reason);
                return false;
            }
        }
        return true;
    }

private:
    bool _readRow()
    {
        TableRow row;
        row.line = _line;
        if (_skipLineEnd()) {
            return true;
        }
        for (;;) {
            QString field;
            if (!_readField(&field)) {
                return false;
            }
            row.fields.append(field);
            if (_at >= _text.size() || _skipLineEnd()) {
                _rows->append(row);
                return true;
            }
            if (_text.at(_at) != QLatin1Char(';')) {
                _reason = QStringLiteral("text after a closing quote");
                return false;
            }
            ++_at;
        }
    }

    bool _readField(QString* field)
    {
        if (_at >= _text.size() || _text.at(_at) != QLatin1Char('"')) {
            const qsizetype start = _at;
            while (_at < _text.size() && !_isFieldEnd(_text.at(_at))) {
                if (_text.at(_at) == QLatin1Char('"')) {
                    _reason = QStringLiteral("a quote inside a field that is not quoted");
                    return false;
                }
                ++_at;
            }
            *field = _text.mid(start, _at - start);
            return true;
        }
        const int openedAt = _line;
        ++_at;
        for (;;) {
            if (_at >= _text.size()) {
                _reason = QStringLiteral("the quote opened on line %1 is never closed").arg(openedAt);
                return false;
            }
            const QChar character = _text.at(_at);
            if (character == QLatin1Char('"')) {
                ++_at;
                if (_at >= _text.size() || _text.at(_at) != QLatin1Char('"')) {
                    return true;
                }
            } else if (character == QLatin1Char('\n')) {
                ++_line;
                _lineStart = _at + 1;
            }
            field->append(character);
            ++_at;
        }
    }

    static bool _isFieldEnd(QChar character)
    {
        return character == QLatin1Char(';') || character == QLatin1Char('\n') || character == QLatin1Char('\r');
    }

    bool _skipLineEnd()
    {
        qsizetype next = _at;
        if (next < _text.size() && _text.at(next) == QLatin1Char('\r')) {
            ++next;
        }
        if (next < _text.size() && _text.at(next) == QLatin1Char('\n')) {
            _at = next + 1;
            _lineStart = _at;
            ++_line;
            return true;
        }
        return false;
    }

    const QString& _text;
    QList<TableRow>* _rows;
    QString _reason;
    qsizetype _at = 0;
    qsizetype _lineStart = 0;
    int _line = 1;
};

} // namespace

bool readDelimitedTable(const QByteArray& text, QList<TableRow>* rows, QString* error)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString decoded = decoder.decode(text);
    if (decoder.hasError()) {
        *error = QStringLiteral("the text is not UTF-8");
        return false;
    }
    return Reader(decoded, rows).read(error);
}

} // namespace tour
