// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <optional>

namespace recorder {

/// The text of the record filters that holds for every recording without filters of its own. Kept in a file, so that it
/// outlives the program. Used on the command thread.
class StoredFilters
{
public:
    /// Reads the file; one that is missing, or does not parse (logged), counts as never accepted.
    explicit StoredFilters(const QString& path);

    bool wasEverAccepted() const { return _text.has_value(); }
    QString text() const { return _text.value_or(QString()); }
    /// Checks the text and stores it. Returns why it is refused, or nothing; then nothing has changed.
    QString accept(const QString& text);

private:
    const QString _path;
    std::optional<QString> _text;
};

} // namespace recorder
