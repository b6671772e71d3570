// SPDX-License-Identifier: Apache-2.0
#include "recorderreplaycontext.h"

void RecorderReplayContext::reset()
{
    *this = RecorderReplayContext();
}
