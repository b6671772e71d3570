// SPDX-License-Identifier: Apache-2.0
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QXmlStreamReader>
#include <QtTest/QtTest>

namespace {

constexpr QChar NO_BREAK_SPACE(0x00A0);
constexpr QChar NARROW_NO_BREAK_SPACE(0x202F);

struct Message
{
    QString file;
    QString context;
    QString source;
    QString type; // of the translation: empty when it is finished and in use
    bool isPlural = false;
    QStringList forms;

    QString place() const { return file + QLatin1String(": ") + context + QLatin1String(": ") + source; }
};

QList<Message> read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(path));
    }
    QList<Message> messages;
    QString context;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (xml.name() == u"name") {
            context = xml.readElementText();
        } else if (xml.name() == u"message") {
            const bool isPlural = xml.attributes().value(u"numerus") == u"yes";
            messages.append({ QFileInfo(path).fileName(), context, {}, {}, isPlural, {} });
        } else if (xml.name() == u"source") {
            messages.last().source = xml.readElementText();
        } else if (xml.name() == u"translation") {
            messages.last().type = xml.attributes().value(u"type").toString();
            if (!messages.last().isPlural) {
                messages.last().forms.append(xml.readElementText());
            }
        } else if (xml.name() == u"numerusform") {
            messages.last().forms.append(xml.readElementText());
        }
    }
    if (xml.hasError()) {
        qFatal("%s: %s", qPrintable(path), qPrintable(xml.errorString()));
    }
    return messages;
}

QList<Message> readAll(const QString& language)
{
    QList<Message> all;
    for (const char* room : { "framework", "host", "plugins/extension-plugins/Recorder" }) {
        const QDir folder(QStringLiteral(RR_SOURCE_DIR "/%1/translations").arg(QLatin1String(room)));
        for (const QString& name : folder.entryList({ QStringLiteral("*_%1.ts").arg(language) })) {
            all.append(read(folder.filePath(name)));
        }
    }
    return all;
}

// "%1", "%2", "%n": in order, once each, however a language places or formats them.
QStringList placeholders(const QString& text)
{
    static const QRegularExpression placeholder(QStringLiteral("%L?([0-9]{1,2}|n)"));
    QStringList found;
    for (const QRegularExpressionMatch& match : placeholder.globalMatch(text)) {
        found.append(match.captured(1));
    }
    found.removeDuplicates();
    found.sort();
    return found;
}

QString blanksBefore(const QString& text)
{
    qsizetype count = 0;
    while (count < text.size() && text.at(count).isSpace()) {
        ++count;
    }
    return text.left(count);
}

QString reversed(QString text)
{
    std::reverse(text.begin(), text.end());
    return text;
}

// What is wrong with the way in which a French text is set; empty: nothing.
QString frenchFault(const QString& text)
{
    static const QList<std::pair<QRegularExpression, QString>> faults {
        { QRegularExpression(QStringLiteral("'")), QStringLiteral("a straight apostrophe") },
        { QRegularExpression(QStringLiteral("\"")), QStringLiteral("a straight quotation mark") },
        { QRegularExpression(QStringLiteral("\\.\\.\\.")), QStringLiteral("three full stops for an ellipsis") },
        { QRegularExpression(QStringLiteral("[^%1][;!]").arg(NARROW_NO_BREAK_SPACE)),
            QStringLiteral("no narrow no-break space before a mark") },
        // In quotation marks it is a character that the text speaks of.
        { QRegularExpression(QStringLiteral("[^%1%2]\\?").arg(NARROW_NO_BREAK_SPACE).arg(NO_BREAK_SPACE)),
            QStringLiteral("no narrow no-break space before a question mark") },
        { QRegularExpression(QStringLiteral("[^%1](:$|: )").arg(NO_BREAK_SPACE)),
            QStringLiteral("no no-break space before a colon") },
        { QRegularExpression(QStringLiteral("«[^%1]|[^%1]»").arg(NO_BREAK_SPACE)),
            QStringLiteral("no no-break space within quotation marks") },
        { QRegularExpression(QStringLiteral("\\w ?%(?![L0-9n])")), QStringLiteral("no no-break space before %") },
    };
    for (const auto& [pattern, name] : faults) {
        if (text.contains(pattern)) {
            return name;
        }
    }
    return {};
}

} // namespace

class tst_Translations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyTextIsTranslatedAndNoneIsLeftOver_data();
    void everyTextIsTranslatedAndNoneIsLeftOver();
    void translationsHoldTheValuesThatTheirTextsHold_data();
    void translationsHoldTheValuesThatTheirTextsHold();
    void textsThatArePutTogetherKeepTheBlanksAtTheirEnds();
    void textsWithANumberHaveASingularAndAPlural();
    void frenchIsSetAsFrenchIs();
    void faultsOfFrenchAreSeen_data();
    void faultsOfFrenchAreSeen();
    void oneTextOfOneNameReadsTheSameInEveryRoom();
};

static void languages()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("rooms");
    // English stands in the sources: only rooms with plurals have a file.
    QTest::newRow("English") << "en" << 2;
    QTest::newRow("French") << "fr" << 3;
}

void tst_Translations::everyTextIsTranslatedAndNoneIsLeftOver_data()
{
    languages();
}

void tst_Translations::everyTextIsTranslatedAndNoneIsLeftOver()
{
    QFETCH(QString, language);
    QFETCH(int, rooms);
    QSet<QString> files;
    for (const Message& message : readAll(language)) {
        files.insert(message.file);
        QVERIFY2(message.type.isEmpty(), qPrintable(message.place() + QLatin1String(" is ") + message.type));
        QVERIFY2(!message.forms.isEmpty(), qPrintable(message.place()));
        for (const QString& form : message.forms) {
            QVERIFY2(!form.trimmed().isEmpty(), qPrintable(message.place()));
        }
    }
    QCOMPARE(files.size(), rooms);
}

void tst_Translations::translationsHoldTheValuesThatTheirTextsHold_data()
{
    languages();
}

void tst_Translations::translationsHoldTheValuesThatTheirTextsHold()
{
    QFETCH(QString, language);
    for (const Message& message : readAll(language)) {
        for (const QString& form : message.forms) {
            QVERIFY2(placeholders(form) == placeholders(message.source), qPrintable(message.place()));
        }
    }
}

void tst_Translations::textsThatArePutTogetherKeepTheBlanksAtTheirEnds()
{
    for (const Message& message : readAll(QStringLiteral("fr"))) {
        for (const QString& form : message.forms) {
            QVERIFY2(blanksBefore(form) == blanksBefore(message.source), qPrintable(message.place()));
            QVERIFY2(
                blanksBefore(reversed(form)) == blanksBefore(reversed(message.source)), qPrintable(message.place()));
        }
    }
}

void tst_Translations::textsWithANumberHaveASingularAndAPlural()
{
    int plurals = 0;
    for (const Message& message : readAll(QStringLiteral("en")) + readAll(QStringLiteral("fr"))) {
        QVERIFY2(message.isPlural == message.source.contains(QLatin1String("%n")), qPrintable(message.place()));
        QVERIFY2(message.forms.size() == (message.isPlural ? 2 : 1), qPrintable(message.place()));
        QVERIFY2(!message.isPlural || message.forms.first() != message.forms.last(), qPrintable(message.place()));
        plurals += message.isPlural ? 1 : 0;
    }
    QCOMPARE_GT(plurals, 0);
}

void tst_Translations::frenchIsSetAsFrenchIs()
{
    for (const Message& message : readAll(QStringLiteral("fr"))) {
        for (const QString& form : message.forms) {
            QVERIFY2(
                frenchFault(form).isEmpty(), qPrintable(message.place() + QLatin1String(" has ") + frenchFault(form)));
        }
    }
}

void tst_Translations::faultsOfFrenchAreSeen_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isFaulty");
    QTest::newRow("straight apostrophe") << "l'agent" << true;
    QTest::newRow("apostrophe") << "l’agent" << false;
    QTest::newRow("straight quotes") << "\"agent\"" << true;
    QTest::newRow("quotes without blanks") << "«agent»" << true;
    QTest::newRow("quotes") << "«\u00A0agent\u00A0»" << false;
    QTest::newRow("three full stops") << "Annulation..." << true;
    QTest::newRow("ellipsis") << "Annulation…" << false;
    QTest::newRow("question without blank") << "Supprimer?" << true;
    QTest::newRow("question with a blank that breaks") << "Supprimer ?" << true;
    QTest::newRow("question") << "Supprimer\u202F?" << false;
    QTest::newRow("semicolon") << "un; deux" << true;
    QTest::newRow("colon without blank") << "Erreur: %1" << true;
    QTest::newRow("colon with a blank that breaks") << "Erreur : %1" << true;
    QTest::newRow("colon") << "Erreur\u00A0: %1" << false;
    QTest::newRow("colon of an address") << "hôte:port" << false;
    QTest::newRow("per cent") << "%1 %" << true;
    QTest::newRow("per cent with its blank") << "%1\u202F%" << false;
    QTest::newRow("placeholder after a word") << "sur %L1" << false;
}

void tst_Translations::faultsOfFrenchAreSeen()
{
    QFETCH(QString, text);
    QFETCH(bool, isFaulty);
    QCOMPARE(!frenchFault(text).isEmpty(), isFaulty);
}

void tst_Translations::oneTextOfOneNameReadsTheSameInEveryRoom()
{
    // A program has one table of texts: two pages of the same name share its part of it.
    QMap<std::pair<QString, QString>, Message> known;
    for (const Message& message : readAll(QStringLiteral("fr"))) {
        const std::pair key(message.context, message.source);
        const auto other = known.constFind(key);
        QVERIFY2(other == known.constEnd() || other->forms == message.forms, qPrintable(message.place()));
        known.insert(key, message);
    }
}

QTEST_GUILESS_MAIN(tst_Translations)
#include "tst_translations.moc"
