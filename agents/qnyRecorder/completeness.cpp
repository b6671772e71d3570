// SPDX-License-Identifier: Apache-2.0
#include "event.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <tuple>

namespace recorder {

namespace {

void appendJsonText(std::string& out, std::string_view utf8)
{
    static constexpr char hex[] = "0123456789abcdef";
    out += '"';
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (byte < 0x20) {
            out += "\\u00";
            out += hex[byte >> 4];
            out += hex[byte & 15];
        } else {
            out += c;
        }
    }
    out += '"';
}

// Counts travel as JSON numbers; beyond 2^53 they would lose digits, which no record reaches.
bool readCount(const QJsonValue& value, std::uint64_t& count)
{
    if (value.isUndefined()) {
        count = 0;
        return true;
    }
    const qint64 number = value.toInteger(-1);
    if (number < 0) {
        return false;
    }
    count = static_cast<std::uint64_t>(number);
    return true;
}

std::string losses(const OutputCompleteness& output)
{
    return std::to_string(output.lostNetwork) + " on the network, " + std::to_string(output.lostQueue)
        + " in the recorder's queue, " + std::to_string(output.lostStore) + " in the store";
}

} // namespace

bool operator==(const OutputCompleteness& left, const OutputCompleteness& right)
{
    return left.agent == right.agent && left.output == right.output && left.stored == right.stored
        && left.lostNetwork == right.lostNetwork && left.lostQueue == right.lostQueue
        && left.lostStore == right.lostStore && left.longestGapUs == right.longestGapUs;
}

bool operator==(const Completeness& left, const Completeness& right)
{
    return left.outputs == right.outputs && left.remarks == right.remarks;
}

bool Completeness::isComplete() const
{
    return remarks.empty() && lost() == 0;
}

std::uint64_t Completeness::stored() const
{
    std::uint64_t sum = 0;
    for (const OutputCompleteness& output : outputs) {
        sum += output.stored;
    }
    return sum;
}

std::uint64_t Completeness::lost() const
{
    std::uint64_t sum = 0;
    for (const OutputCompleteness& output : outputs) {
        sum += output.lost();
    }
    return sum;
}

std::string Completeness::toJson() const
{
    std::string out = "{\"version\":1,\"complete\":";
    out += isComplete() ? "true" : "false";
    out += ",\"remarks\":[";
    for (const std::string& sentence : remarks) {
        if (out.back() != '[') {
            out += ',';
        }
        appendJsonText(out, sentence);
    }
    out += "],\"outputs\":[";
    for (const OutputCompleteness& output : outputs) {
        if (out.back() != '[') {
            out += ',';
        }
        out += "{\"agent\":";
        appendJsonText(out, output.agent);
        out += ",\"output\":";
        appendJsonText(out, output.output);
        out += ",\"stored\":" + std::to_string(output.stored);
        out += ",\"lost\":{\"network\":" + std::to_string(output.lostNetwork);
        out += ",\"queue\":" + std::to_string(output.lostQueue);
        out += ",\"store\":" + std::to_string(output.lostStore);
        out += "},\"longest_gap_us\":" + std::to_string(output.longestGapUs) + '}';
    }
    out += "]}";
    return out;
}

bool Completeness::fromJson(std::string_view json, Completeness& completeness, std::string& reason)
{
    QJsonParseError error;
    const QJsonDocument document
        = QJsonDocument::fromJson(QByteArray(json.data(), static_cast<qsizetype>(json.size())), &error);
    if (error.error != QJsonParseError::NoError) {
        reason = "the completeness is not JSON: " + error.errorString().toStdString();
        return false;
    }
    if (!document.isObject()) {
        reason = "the completeness must be a JSON object";
        return false;
    }
    const QJsonObject object = document.object();
    if (object.value(u"version").toInteger(1) != 1) {
        reason = "the completeness has a version that this recorder does not know";
        return false;
    }
    Completeness result;
    const QJsonArray remarks = object.value(u"remarks").toArray();
    for (const QJsonValue& sentence : remarks) {
        result.remarks.push_back(sentence.toString().toStdString());
    }
    const QJsonArray outputs = object.value(u"outputs").toArray();
    for (const QJsonValue& value : outputs) {
        const QJsonObject entry = value.toObject();
        const QJsonObject lost = entry.value(u"lost").toObject();
        OutputCompleteness output;
        output.agent = entry.value(u"agent").toString().toStdString();
        output.output = entry.value(u"output").toString().toStdString();
        std::uint64_t gap = 0;
        const bool good = readCount(entry.value(u"stored"), output.stored)
            && readCount(lost.value(u"network"), output.lostNetwork)
            && readCount(lost.value(u"queue"), output.lostQueue) && readCount(lost.value(u"store"), output.lostStore)
            && readCount(entry.value(u"longest_gap_us"), gap);
        if (!good || output.agent.empty()) {
            reason = "an output in the completeness lacks its agent, or has a count that is not a whole number";
            return false;
        }
        output.longestGapUs = static_cast<std::int64_t>(gap);
        result.outputs.push_back(std::move(output));
    }
    std::sort(result.outputs.begin(), result.outputs.end(), [](const auto& left, const auto& right) {
        return std::tie(left.agent, left.output) < std::tie(right.agent, right.output);
    });
    const auto twice = std::adjacent_find(result.outputs.begin(), result.outputs.end(),
        [](const auto& left, const auto& right) { return left.agent == right.agent && left.output == right.output; });
    if (twice != result.outputs.end()) {
        const auto shown = [](const std::string& name) { return QString::fromStdString(name).left(40).toStdString(); };
        reason
            = "the completeness names output \"" + shown(twice->output) + "\" of \"" + shown(twice->agent) + "\" twice";
        return false;
    }
    completeness = std::move(result);
    return true;
}

std::vector<std::string> Completeness::report(std::size_t most) const
{
    std::vector<std::string> lines;
    lines.push_back(std::to_string(stored()) + " events of " + std::to_string(outputs.size()) + " outputs stored, "
        + (lost() == 0 ? std::string("none lost") : std::to_string(lost()) + " lost"));
    lines.insert(lines.end(), remarks.begin(), remarks.end());
    std::size_t named = 0;
    std::size_t losing = 0;
    for (const OutputCompleteness& output : outputs) {
        if (output.lost() == 0) {
            continue;
        }
        ++losing;
        if (named < most) {
            ++named;
            lines.push_back("\"" + output.agent + "\"/\"" + output.output + "\": " + std::to_string(output.stored)
                + " stored, lost " + losses(output));
        }
    }
    if (losing > named) {
        lines.push_back(std::to_string(losing - named) + " more outputs lost events");
    }
    return lines;
}

} // namespace recorder
