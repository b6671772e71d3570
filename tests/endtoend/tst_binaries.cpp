// SPDX-License-Identifier: Apache-2.0
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include <algorithm>

namespace {

// The libraries that a binary asks the loader for, and how it was read when that failed.
QStringList neededLibraries(const QString& binary, QString* error)
{
    QProcess readelf;
    readelf.start(QStringLiteral(RR_READELF), { QStringLiteral("-d"), QStringLiteral("-W"), binary });
    if (!readelf.waitForFinished(20'000) || readelf.exitCode() != 0) {
        *error = QStringLiteral("%1 cannot be read: %2")
                     .arg(binary, QString::fromLocal8Bit(readelf.readAllStandardError()));
        return {};
    }
    static const QRegularExpression needed(QStringLiteral(R"(\(NEEDED\).*\[([^\]]+)\])"));
    QStringList libraries;
    QRegularExpressionMatchIterator matches
        = needed.globalMatch(QString::fromLocal8Bit(readelf.readAllStandardOutput()));
    while (matches.hasNext()) {
        libraries.append(matches.next().captured(1));
    }
    return libraries;
}

bool isQt(const QString& library)
{
    return library.startsWith(QLatin1String("libQt"));
}

} // namespace

class TestBinaries : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theNetworkLibraryLinksNoQt()
    {
        const QStringList libraries = _read(QStringLiteral(RR_QUENARY));
        QVERIFY2(std::none_of(libraries.cbegin(), libraries.cend(), isQt), qPrintable(libraries.join(' ')));
    }

    // With the system's, faults that were mended in its own would be back; and whoever uses both must not get the one
    // for the other.
    void theNetworkLibraryHasItsOwnZeroMqAndShowsItToNobody()
    {
        const QStringList libraries = _read(QStringLiteral(RR_QUENARY));
        QVERIFY2(std::none_of(libraries.cbegin(), libraries.cend(),
                     [](const QString& name) { return name.startsWith("libzmq"); }),
            qPrintable(libraries.join(' ')));
        QProcess readelf;
        readelf.start(QStringLiteral(RR_READELF), { "--dyn-syms", "-W", QStringLiteral(RR_QUENARY) });
        QVERIFY(readelf.waitForFinished(20'000));
        const QString symbols = QString::fromLocal8Bit(readelf.readAllStandardOutput());
        QVERIFY(symbols.contains("qny_start"));
        QVERIFY(!symbols.contains(" zmq_"));
    }

    void theModuleLinksOnlyTheFrameworkTheToolkitAndTheNetwork()
    {
        const QStringList libraries = _read(QStringLiteral(RR_MODULE));
        static const QRegularExpression allowed(
            R"(^(libCorvaneFramework|libZqToolkit|libquenary|libQt6\w+|libstdc\+\+|libc|libm|libgcc_s|libpthread|ld-linux.*|libOpenGL|libGLX|libEGL|libGL|libasan|libubsan)\.so)");
        for (const QString& library : libraries) {
            QVERIFY2(allowed.match(library).hasMatch(), qPrintable(library));
        }
        QVERIFY(std::any_of(libraries.cbegin(), libraries.cend(),
            [](const QString& name) { return name.startsWith("libCorvaneFramework"); }));
    }

    void theHostLinksNeitherModuleNorNetwork()
    {
        const QStringList libraries = _read(QStringLiteral(RR_HOST));
        for (const QString& library : libraries) {
            QVERIFY2(!library.contains("Recorder") && !library.startsWith("libquenary"), qPrintable(library));
        }
    }

    void theSampleAgentsLinkNoQt()
    {
        const QStringList libraries = _read(QStringLiteral(RR_SAMPLE_PUMP));
        QVERIFY2(std::none_of(libraries.cbegin(), libraries.cend(), isQt), qPrintable(libraries.join(' ')));
        QVERIFY(std::any_of(
            libraries.cbegin(), libraries.cend(), [](const QString& name) { return name.startsWith("libquenary"); }));
    }

    void theRecorderDrawsNothingAndKnowsNoHost()
    {
        const QStringList libraries = _read(QStringLiteral(RR_RECORDER));
        for (const QString& library : libraries) {
            QVERIFY2(!isQt(library) || library.startsWith("libQt6Core"), qPrintable(library));
            QVERIFY2(!library.startsWith("libCorvane") && !library.startsWith("libZq"), qPrintable(library));
        }
    }

private:
    static QStringList _read(const QString& binary)
    {
        QString error;
        const QStringList libraries = neededLibraries(binary, &error);
        if (libraries.isEmpty()) {
            qCritical("%s", qPrintable(error));
        }
        return libraries;
    }
};

QTEST_APPLESS_MAIN(TestBinaries)
#include "tst_binaries.moc"
