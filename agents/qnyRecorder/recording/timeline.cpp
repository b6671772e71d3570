// SPDX-License-Identifier: Apache-2.0
#include "timeline.h"

#include <algorithm>
#include <cstdlib>

namespace recorder {

int64_t SenderClocks::align(const std::string& sender, bool isOnThisMachine, int64_t stampUs, int64_t receivedUs)
{
    auto known = _offsets.find(sender);
    if (known == _offsets.end()) {
        const int64_t difference = receivedUs - stampUs;
        const bool agrees = std::llabs(difference) <= (isOnThisMachine ? AGREEING_HERE_US : AGREEING_ELSEWHERE_US);
        known = _offsets.emplace(sender, agrees ? 0 : difference).first;
    }
    return stampUs + known->second;
}

std::optional<int64_t> SenderClocks::aligned(const std::string& sender, int64_t stampUs) const
{
    const auto known = _offsets.find(sender);
    return known == _offsets.end() ? std::nullopt : std::optional(stampUs + known->second);
}

void RecordTimeline::pause(int64_t nowUs)
{
    if (!_pausedSinceUs) {
        _pausedSinceUs = nowUs;
    }
}

void RecordTimeline::resume(int64_t nowUs)
{
    if (_pausedSinceUs) {
        _pauses.push_back({ *_pausedSinceUs, std::max(nowUs, *_pausedSinceUs) });
        _pausedSinceUs.reset();
    }
}

std::optional<int64_t> RecordTimeline::toRecord(int64_t timeUs) const
{
    if ((_pausedSinceUs && timeUs >= *_pausedSinceUs) || (_endUs && timeUs > *_endUs)) {
        return std::nullopt;
    }
    int64_t cutUs = 0;
    for (const Pause& pause : _pauses) {
        if (timeUs < pause.fromUs) {
            break;
        }
        if (timeUs < pause.toUs) {
            return std::nullopt;
        }
        cutUs += pause.toUs - pause.fromUs;
    }
    return std::max<int64_t>(0, timeUs - _startUs - cutUs);
}

int64_t RecordTimeline::elapsed(int64_t nowUs) const
{
    int64_t untilUs = _pausedSinceUs ? std::min(nowUs, *_pausedSinceUs) : nowUs;
    if (_endUs) {
        untilUs = std::min(untilUs, *_endUs);
    }
    int64_t cutUs = 0;
    for (const Pause& pause : _pauses) {
        cutUs += pause.toUs - pause.fromUs;
    }
    return std::max<int64_t>(0, untilUs - _startUs - cutUs);
}

} // namespace recorder
