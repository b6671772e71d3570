// SPDX-License-Identifier: Apache-2.0
#include "messagelog.h"
#include "modulefixture.h"
#include "replies.h"

#include <systemdocumenthandler.h>

#include <QtCore/QMutex>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>

namespace {

constexpr int MODULES = 1000;
constexpr int MOST_ANSWERS_HEARD = 4;
constexpr int MODULES_AN_IMPORT = 5;
constexpr int MODULES_AN_AGENT = 20;

/// Another thread that answers all the time, as fast as it can, in the name of whoever is there.
class AnsweringThread
{
public:
    AnsweringThread()
        : _thread([this] { _answer(); })
    {
    }
    ~AnsweringThread()
    {
        _isOver = true;
        _thread.join();
    }
    Q_DISABLE_COPY_MOVE(AnsweringThread)

    void answerFor(const RecorderInstance& instance)
    {
        const QMutexLocker locker(&_mutex);
        _instanceUuid = instance.uuid();
        _sender = { instance.name(), instance.agentInstanceUuid() };
    }
    int answers() const { return _answers; }

private:
    void _answer()
    {
        for (qsizetype i = 0; !_isOver; ++i) {
            QString uuid;
            QuenaryDouble::Sender sender;
            {
                const QMutexLocker locker(&_mutex);
                uuid = _instanceUuid;
                sender = _sender;
            }
            const Reply& reply = replies().at(i % replies().size());
            const QString suffix = reply.service == QLatin1StringView("record_uuid") && i % 2 == 0
                ? QStringLiteral("##import")
                : reply.tokenSuffix;
            QuenaryDouble::callService(reply.service, reply.arguments, uuid + suffix, sender);
            const auto value = static_cast<double>(i);
            QuenaryDouble::writeInput(uuid + QStringLiteral("#record_progress"), value);
            QuenaryDouble::writeInput(uuid + QStringLiteral("#replay_progress"), value);
            ++_answers;
        }
    }

    QMutex _mutex;
    QString _instanceUuid = QStringLiteral("nobody");
    QuenaryDouble::Sender _sender;
    std::atomic<int> _answers = 0;
    std::atomic<bool> _isOver = false;
    std::thread _thread;
};

/// The first message that such answers do not explain; empty when there is none.
QString unexplained(const MessageLog& messages)
{
    static const QStringList explained { QStringLiteral("unknown recorder"), QStringLiteral("Unknown recorder id"),
        QStringLiteral("unknown record id"), QStringLiteral("no current record"),
        QStringLiteral("because it is not playing"), QStringLiteral("failed to write content to record file"),
        QStringLiteral("Instance is off. Can not call service"),
        QStringLiteral("isn't linked to any RecorderInstance") };
    const QStringList problems = messages.problems();
    for (const QString& problem : problems) {
        if (std::none_of(explained.cbegin(), explained.cend(),
                [&problem](const QString& text) { return problem.contains(text); })) {
            return problem;
        }
    }
    return QString();
}

} // namespace

/// Modules that are made and destroyed while answers come in from another thread. What may go wrong here, a sanitizer
/// sees.
class tst_RecorderComesAndGoes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aThousandModulesComeAndGoWhileAnswersStreamIn();
};

void tst_RecorderComesAndGoes::aThousandModulesComeAndGoWhileAnswersStreamIn()
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("record.csv")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    for (int row = 0; row < 10001; ++row) {
        file.write("1\n");
    }
    file.close();

    ModuleFixture fixture;
    SystemViewClassInstance* const classInstance = fixture.addRecorder(QStringLiteral("Rec"));
    QuenaryDouble::Agent agent = ModuleFixture::run(fixture.firstInstanceOf(classInstance));
    fixture.destroyModule();

    MessageLog messages;
    int heard = 0;
    int onCount = 0;
    {
        AnsweringThread recorder;
        for (int i = 0; i < MODULES; ++i) {
            auto module = std::make_unique<RecorderModule>(ModuleFixture::executablePath(), nullptr);
            auto* const registry = qobject_cast<Recorder*>(module->recorders()->itemAt(0));
            QVERIFY(registry);
            RecorderInstance* const instance = registry->recorderInstances().value(0);
            QVERIFY(instance);
            onCount += instance->isOn() ? 1 : 0;
            recorder.answerFor(*instance);
            if (instance->isOn() && i % MODULES_AN_IMPORT == 0) {
                instance->importRecord(QUrl::fromLocalFile(file.fileName()));
            }
            if (i % MODULES_AN_AGENT == 0) {
                // The agent goes, and comes again as another; the module hears of it later, or never.
                QuenaryDouble::leave(agent.uuid);
                agent.uuid = QStringLiteral("agent-%1").arg(i);
                QuenaryDouble::enter(agent);
            }
            // Some modules live for a while; of others, every answer is still on its way when they go.
            connect(module.get(), &RecorderModule::recordingProgressReceived, module.get(), [&heard] { ++heard; });
            const int enough = recorder.answers() + i % (MOST_ANSWERS_HEARD + 1);
            while (recorder.answers() < enough) {
                QCoreApplication::sendPostedEvents();
                std::this_thread::yield();
            }
            if (i % 2 == 0) {
                ModuleFixture::settle();
            }
            module.reset();
            QuenaryDouble::clearCalls();
            QVERIFY2(unexplained(messages).isEmpty(), qPrintable(unexplained(messages)));
            messages.clear();
        }
    }
    ModuleFixture::settle();
    QVERIFY2(heard >= MODULES / 4, qPrintable(QString::number(heard)));
    QVERIFY2(onCount >= MODULES / 2, qPrintable(QString::number(onCount)));
}

QTEST_MAIN(tst_RecorderComesAndGoes)
#include "tst_recordercomesandgoes.moc"
