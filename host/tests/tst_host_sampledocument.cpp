// SPDX-License-Identifier: Apache-2.0
#include "sampledocument.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

class tst_host_sampledocument : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void linesOfProgramsThatMovedNameThemWhereTheyAre();
    void linesOfProgramsThatAreThereStayAsTheyAre();
    void linesOfOtherProgramsAndOtherTextsStayAsTheyAre();
    void aTextThatIsNoDocumentStaysAsItIs();

private:
    static QByteArray documentWith(const QString& line);
    static QString lineOf(const QByteArray& document);
    QString program(const QString& folder, const QString& name);
    QString relocatedLine(const QString& line);

    QTemporaryDir _folder;
    QString _recorder;
    QString _agents;
};

QByteArray tst_host_sampledocument::documentWith(const QString& line)
{
    const QJsonObject agent { { QStringLiteral("line"), line } };
    return QJsonDocument(QJsonObject { { QStringLiteral("agents"), QJsonArray { agent } } }).toJson();
}

QString tst_host_sampledocument::lineOf(const QByteArray& document)
{
    return QJsonDocument::fromJson(document)[QStringLiteral("agents")][0][QStringLiteral("line")].toString();
}

QString tst_host_sampledocument::program(const QString& folder, const QString& name)
{
    QDir(_folder.path()).mkpath(folder);
    const QString path = _folder.filePath(folder + QLatin1Char('/') + name);
    QFile file(path);
    const bool isMade = file.open(QIODevice::WriteOnly);
    Q_ASSERT(isMade);
    return path;
}

QString tst_host_sampledocument::relocatedLine(const QString& line)
{
    return lineOf(SampleDocument::relocated(documentWith(line), _recorder, _agents));
}

void tst_host_sampledocument::init()
{
    QVERIFY(_folder.isValid());
    _recorder = program(QStringLiteral("now"), QStringLiteral("qnyRecorder"));
    _agents = QFileInfo(program(QStringLiteral("now"), QStringLiteral("qnySampleTank"))).path();
}

void tst_host_sampledocument::linesOfProgramsThatMovedNameThemWhereTheyAre()
{
    QCOMPARE(relocatedLine(QStringLiteral("/gone/qnyRecorder --name \"Plant recorder\"")),
        _recorder + QStringLiteral(" --name \"Plant recorder\""));
    QCOMPARE(relocatedLine(QStringLiteral("\"/a folder gone/qnySampleTank\" --name Tank")),
        _agents + QStringLiteral("/qnySampleTank --name Tank"));
    QCOMPARE(relocatedLine(QStringLiteral("/gone/qnySampleTank")), _agents + QStringLiteral("/qnySampleTank"));
    const QString withBlank = program(QStringLiteral("a new folder"), QStringLiteral("qnyRecorder"));
    QCOMPARE(lineOf(SampleDocument::relocated(documentWith(QStringLiteral("/gone/qnyRecorder -v")), withBlank, _agents)),
        QStringLiteral("\"%1\" -v").arg(withBlank));
}

void tst_host_sampledocument::linesOfProgramsThatAreThereStayAsTheyAre()
{
    const QString other = program(QStringLiteral("before"), QStringLiteral("qnyRecorder"));
    const QByteArray document = documentWith(other + QStringLiteral(" -v"));
    QCOMPARE(SampleDocument::relocated(document, _recorder, _agents), document);
}

void tst_host_sampledocument::linesOfOtherProgramsAndOtherTextsStayAsTheyAre()
{
    for (const QString& text : { QStringLiteral("/gone/somethingElse --name x"), QStringLiteral("Plant recorder"),
             QStringLiteral("/gone/qnySamplePump --line a"), QStringLiteral("qnyRecorder"), QString() }) {
        const QByteArray document = documentWith(text);
        QCOMPARE(SampleDocument::relocated(document, _recorder, _agents), document);
    }
}

void tst_host_sampledocument::aTextThatIsNoDocumentStaysAsItIs()
{
    QCOMPARE(SampleDocument::relocated("{ no JSON", _recorder, _agents), QByteArray("{ no JSON"));
}

QTEST_GUILESS_MAIN(tst_host_sampledocument)
#include "tst_host_sampledocument.moc"
