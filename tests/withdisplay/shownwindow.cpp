// SPDX-License-Identifier: Apache-2.0
#include "shownwindow.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>

QList<Control> ShownWindow::controls() const
{
    QList<Control> controls;
    QFile file(_reportFile);
    if (!file.open(QIODevice::ReadOnly)) {
        return controls;
    }
    const QJsonArray report = QJsonDocument::fromJson(file.readAll()).object().value("controls").toArray();
    for (const QJsonValue& one : report) {
        const QJsonArray rectangle = one["rect"].toArray();
        controls.append({ one["name"].toString(), one["text"].toString(), one["type"].toString(),
            QRect(rectangle.at(0).toInt(), rectangle.at(1).toInt(), rectangle.at(2).toInt(), rectangle.at(3).toInt()),
            one["enabled"].toBool(), one["checked"].toBool() });
    }
    return controls;
}

template <typename Match> std::optional<Control> ShownWindow::_first(Match match) const
{
    const QList<Control> all = controls();
    const auto found = std::find_if(all.cbegin(), all.cend(), match);
    return found == all.cend() ? std::nullopt : std::optional(*found);
}

std::optional<Control> ShownWindow::named(const QString& name, const QString& text) const
{
    return _first([&](const Control& one) { return one.name == name && (text.isEmpty() || one.text == text); });
}

std::optional<Control> ShownWindow::withText(const QString& text) const
{
    return _first([&](const Control& one) { return one.text == text; });
}

std::optional<Control> ShownWindow::ofType(const QString& type, const QString& text) const
{
    return _first([&](const Control& one) { return one.type == type && one.text == text; });
}

std::optional<Control> ShownWindow::beside(const QString& name, const Control& other) const
{
    return _first([&](const Control& one) {
        return one.name == name && one.rectangle.top() < other.middle().y()
            && one.rectangle.bottom() > other.middle().y();
    });
}

QStringList ShownWindow::textsOf(const QString& name) const
{
    QList<Control> all = controls();
    all.removeIf([&](const Control& one) { return one.name != name; });
    std::sort(all.begin(), all.end(),
        [](const Control& left, const Control& right) { return left.rectangle.top() < right.rectangle.top(); });
    QStringList texts;
    for (const Control& one : all) {
        texts.append(one.text);
    }
    return texts;
}
