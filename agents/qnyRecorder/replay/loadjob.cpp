// SPDX-License-Identifier: Apache-2.0
#include "loadjob.h"

#include "../csv/filerecord.h"

namespace recorder {

LoadJob::LoadJob(Request request, Store& store, Done done)
    : _request(std::move(request))
    , _thread([this, &store, done = std::move(done)] { run(store, done); })
{
}

LoadJob::~LoadJob()
{
    _isGivenUp = true;
    _thread.join();
}

void LoadJob::run(Store& store, const Done& done)
{
    StoreResult result;
    std::unique_ptr<RecordReader> reader;
    if (_request.isFile) {
        const auto progress = [this](int percent) {
            _percent = percent;
            return !_isGivenUp;
        };
        reader = csv::openFileRecord(_request.id.toStdString(), progress, result);
    } else {
        result = store.open(_request.id.toStdString(), reader);
    }
    done(std::move(reader), result);
}

} // namespace recorder
