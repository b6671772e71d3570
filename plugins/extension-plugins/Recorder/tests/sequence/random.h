// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QtGlobal>

#include <initializer_list>
#include <random>

/// Everything that is left to chance in a sequence: the same seed gives the same choices on every machine.
class Random
{
public:
    explicit Random(quint64 seed)
        : _engine(seed)
    {
    }

    /// From 0 to `bound` - 1; `bound` is at least 1.
    int below(qsizetype bound) { return static_cast<int>(_engine() % static_cast<quint64>(bound)); }
    bool chance(int percent) { return below(100) < percent; }

    /// One of the values, of which there must be some.
    template <typename List> auto pick(const List& values) { return values.at(below(values.size())); }
    template <typename T> T pick(std::initializer_list<T> values)
    {
        return *(values.begin() + below(static_cast<qsizetype>(values.size())));
    }

private:
    std::mt19937_64 _engine;
};
