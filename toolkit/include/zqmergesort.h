// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QList>

#include <algorithm>
#include <utility>

/// Sorts stably, with at most n log2 n questions, and stays in bounds whatever the comparator answers: with one that
/// contradicts itself the result still holds every value once, and no value comes before its direct predecessor.
///
/// `comesBefore(left, right)` says whether left comes before right; neither coming first keeps the order given.
template <typename T, typename ComesBefore> void zqMergeSort(QList<T>& values, const ComesBefore& comesBefore)
{
    const qsizetype size = values.size();
    QList<T> merged(size);
    for (qsizetype width = 1; width < size; width *= 2) {
        const T* from = values.constData();
        T* to = merged.data();
        for (qsizetype begin = 0; begin < size; begin += 2 * width) {
            const qsizetype middle = std::min(begin + width, size);
            const qsizetype end = std::min(begin + 2 * width, size);
            qsizetype left = begin;
            qsizetype right = middle;
            qsizetype out = begin;
            // Two runs that already follow one another cost one question, a sorted list n of them.
            if (right < end && !comesBefore(from[right], from[middle - 1])) {
                std::copy(from + begin, from + end, to + begin);
                continue;
            }
            while (left < middle && right < end) {
                to[out++] = comesBefore(from[right], from[left]) ? from[right++] : from[left++];
            }
            std::copy(from + left, from + middle, to + out);
            std::copy(from + right, from + end, to + out + (middle - left));
        }
        std::swap(values, merged);
    }
}
