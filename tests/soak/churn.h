// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SOAK_CHURN_H
#define TESTS_SOAK_CHURN_H

#include <tourcontext.h>

#include <functional>
#include <memory>

class HostApplication;

namespace soak {

struct ChurnOptions
{
    QString machine; // the name of the machine whose launcher starts the recorders
    QString folder; // exports go there
    QString endpoint; // what the recorders keep their records in: a setting as the module's page has it
    double recordSeconds = 3.0;
    int cyclesToKill = 3; // every so many cycles a recorder is killed
};

// Everything that a person does with records, again and again, on a host that is started: through the module's own
// objects, as the pages do. Spins the event loop, main thread only.
class Churn
{
public:
    // Says one line of lines.h.
    using Say = std::function<void(const char* word, const QString& rest)>;

    Churn(HostApplication& host, const ChurnOptions& options, Say say);

    // Adds two recorders on the launcher's machine, and connects the one that lives on. False when that fails.
    bool prepare();
    // Records, exports, replays, imports, deletes; every now and then kills the other recorder while it records.
    void cycle();
    void finish();

private:
    bool _addRecorder(tour::TourContext& recorder);
    bool _connect(tour::TourContext& recorder);
    bool _disconnect(tour::TourContext& recorder);
    void _workWith(tour::TourContext& recorder);
    void _killAndLookAgain(tour::TourContext& recorder);
    void _showPages();
    void _lookAtNotices();

    bool _record(tour::TourContext& recorder, bool withPause);
    bool _export(tour::TourContext& recorder, const tour::ObjectHandle& record, const QString& file);
    bool _replay(tour::TourContext& recorder);
    bool _importAgain(tour::TourContext& recorder);
    bool _delete(tour::TourContext& recorder, const tour::ObjectHandle& record);
    bool _filter(tour::TourContext& recorder, const QString& filters);

    // Says what went wrong; true when nothing did.
    bool _check(const QString& what, const tour::Answer& answer);
    bool _await(const QString& what, const std::function<bool()>& condition);
    bool _call(const tour::ObjectHandle& object, const char* method, const QVariantList& arguments = {});
    void _sayRecord(const tour::TourContext& recorder, const QString& file);

    HostApplication& _host;
    ChurnOptions _options;
    Say _say;
    std::unique_ptr<tour::TourContext> _main; // lives on
    std::unique_ptr<tour::TourContext> _victim;
    int _cycles = 0;
    int _files = 0;
    int _replays = 0;
    bool _wasKilled = false; // the record that is said was made by a recorder that was killed
};

} // namespace soak

#endif
