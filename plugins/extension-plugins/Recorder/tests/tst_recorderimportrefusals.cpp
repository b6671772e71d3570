// SPDX-License-Identifier: Apache-2.0
#include "filesfixture.h"

#include <stdexcept>

/// Files that can not be read or sent to their end: the import ends, says what to do about it, and asks what the
/// recorder has.
class tst_RecorderImportRefusals : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFileThatCanNotBeReadIsRefused();
    void aReadErrorLaterEndsTheImport();
    void aRowThatNoCallCarriesIsRefused();
    void aZeroByteIsRefusedBeforeTheChunkIsSent();
    void bytesThatAreNoTextAreRefusedBeforeTheChunkIsSent();
    void aStrangeLineOfALaterChunkIsFound();
    void anImportThatIsRefusedWhileTheRecorderGoesAsksNobody();
    void anExceptionInATaskEndsTheImport();
};

namespace {

/// A regular file that opens and can not be read.
const QString UNREADABLE_FILE = QStringLiteral("/proc/self/mem");

void expectWarning(const QString& path, const QString& rest)
{
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression("^File \"" + QRegularExpression::escape(path) + "\" " + rest + '$'));
}

/// Imports nothing, then asks the recorder what it has.
void compareRefused(Files& files)
{
    QTRY_VERIFY(!files.instance->isImportingRecord());
    compareCall(files.instance, "get_records", { QString("") });
}

/// How a task of an import is started.
template <auto member> struct OpenTaskStart
{
    friend auto taskStart() { return member; }
};
auto taskStart();
template struct OpenTaskStart<&RecorderInstance::_startImportTask>;

} // namespace

void tst_RecorderImportRefusals::aFileThatCanNotBeReadIsRefused()
{
    Files files;
    expectWarning(UNREADABLE_FILE,
        "can not be read from byte 0 on \\(.+\\): copy it to a disk of this machine and import the copy. Nothing is "
        "imported\\.");
    files.instance->importRecord(QUrl::fromLocalFile(UNREADABLE_FILE));
    QVERIFY(files.instance->isImportingRecord());
    compareRefused(files);
}

void tst_RecorderImportRefusals::aReadErrorLaterEndsTheImport()
{
    Files files;
    files.write("big.csv", Files::rows(25000));
    files.import("big.csv");
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
    QuenaryDouble::clearCalls();
    QVERIFY(QFile::remove(files.path("big.csv")));
    QVERIFY(QFile::link(UNREADABLE_FILE, files.path("big.csv")));
    expectWarning(files.path("big.csv"),
        QStringLiteral("can not be read from byte %1 on \\(.+\\): .+\\. What comes before is imported\\.")
            .arg(Files::rows(10000).size()));
    files.acknowledge();
    compareRefused(files);
    // A late acknowledgement begins nothing.
    files.acknowledge();
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
    QVERIFY(!files.instance->isImportingRecord());
}

void tst_RecorderImportRefusals::aRowThatNoCallCarriesIsRefused()
{
    Files files;
    files.write("quote.csv", "a;0;\"");
    // As a file looks in which a quote was never closed.
    QVERIFY(QFile::resize(files.path("quote.csv"), 64 * 1024 * 1024));
    expectWarning(files.path("quote.csv"),
        "has a row of more than 60 MiB at byte 0, which can not be sent: see whether a field there lacks the quote "
        "that "
        "ends it\\. Nothing is imported\\.");
    files.import("quote.csv");
    compareRefused(files);
}

void tst_RecorderImportRefusals::aZeroByteIsRefusedBeforeTheChunkIsSent()
{
    Files files;
    files.write("zero.csv", QByteArray("a;0;\xc3\xa9\n\nb;0\0;output\n", 20));
    expectWarning(files.path("zero.csv"),
        "has a line at byte 8 that is no text in UTF-8: save it as such and import it again\\. Nothing is imported\\.");
    files.import("zero.csv");
    compareRefused(files);
}

void tst_RecorderImportRefusals::bytesThatAreNoTextAreRefusedBeforeTheChunkIsSent()
{
    Files files;
    files.write("latin1.csv", "a;0;output;cafe;;\nb;0;output;caf\xe9;;\n");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^An argument of service 'import' can not be sent: .+$"));
    expectWarning(files.path("latin1.csv"),
        "has a line at byte 18 that is no text in UTF-8: save it as such and import it again\\. Nothing is "
        "imported\\.");
    files.import("latin1.csv");
    compareRefused(files);
}

void tst_RecorderImportRefusals::aStrangeLineOfALaterChunkIsFound()
{
    for (const QByteArray& strange : { QByteArray("b\0", 2), QByteArray("\xe9") }) {
        Files files;
        files.write("big.csv", Files::rows(12000) + strange + "\n" + Files::rows(3));
        files.import("big.csv");
        QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
        QuenaryDouble::clearCalls();
        if (!strange.contains('\0')) {
            QTest::ignoreMessage(
                QtWarningMsg, QRegularExpression("^An argument of service 'append' can not be sent: .+$"));
        }
        expectWarning(files.path("big.csv"),
            QStringLiteral("has a line at byte %1 that is no text in UTF-8: .+ What comes before is imported\\.")
                .arg(Files::rows(12000).size()));
        files.acknowledge();
        compareRefused(files);
    }
}

void tst_RecorderImportRefusals::anImportThatIsRefusedWhileTheRecorderGoesAsksNobody()
{
    Files files;
    files.write("zero.csv", QByteArray("\0\n", 2));
    expectWarning(files.path("zero.csv"), "has a line at byte 0 .+");
    files.import("zero.csv");
    // Before the event loop hears of the end of the task.
    files.instance->updateFromRunningAgentInfo(nullptr);
    QThreadPool::globalInstance()->waitForDone();
    ModuleFixture::settle();
    QVERIFY(!files.instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList());
}

void tst_RecorderImportRefusals::anExceptionInATaskEndsTheImport()
{
    Files files;
    files.write("big.csv", Files::rows(25000));
    files.import("big.csv");
    QTRY_COMPARE_GE(files.instance->importingProgress(), 30);
    QuenaryDouble::clearCalls();
    QTest::ignoreMessage(QtWarningMsg, "The import ended: no memory");
    (files.instance->*taskStart())([](const auto&) -> bool { throw std::runtime_error("no memory"); }, [](const QString&) {});
    compareRefused(files);
    // And the next one does not wait for a chunk that was never read.
    files.write("small.csv", "a;0;output\n");
    files.import("small.csv");
    QTRY_COMPARE(QuenaryDouble::calledServices(), QStringList({ "import" }));
    files.acknowledge();
    QTRY_VERIFY(!files.instance->isImportingRecord());
    QCOMPARE(QuenaryDouble::calledServices(), QStringList({ "import", "get_records" }));
}

QTEST_MAIN(tst_RecorderImportRefusals)
#include "tst_recorderimportrefusals.moc"
