// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include <quenary.h>

namespace recorder {

/// The commands that hosts give.
enum class Service
{
    Record,
    StopRecording,
    PauseRecord,
    ResumeRecord,
    GetRecords,
    GetContext,
    GetRecordFilters,
    SetRecordFilters,
    Load,
    LoadFile,
    Unload,
    Rename,
    Delete,
    Play,
    Pause,
    MoveTo,
    FilterReplayingAgents,
    Speed,
    Export,
    Import,
    Append
};

/// One argument as it came or goes; texts are UTF-8. The last stands for a type that no service of ours takes.
using Argument = std::variant<bool, int32_t, double, QByteArray, std::monostate>;

/// Whom to answer, and with which token. Copied with whatever has to answer later.
struct Caller
{
    QByteArray agentUuid;
    QString agentName; ///< for the log
    std::optional<QByteArray> token;
    QByteArray publicKey {}; ///< by which the call came; empty without security, as its certificate's name
    QString certificateName {};

    /// The part of the token before "##": under it go the answers that no single call asked for.
    QByteArray plainToken() const
    {
        const QByteArray whole = token.value_or(QByteArray());
        const qsizetype separator = whole.indexOf("##");
        return separator < 0 ? whole : whole.left(separator);
    }
    Caller underPlainToken() const
    {
        Caller plain = *this;
        if (plain.token) {
            plain.token = plainToken();
        }
        return plain;
    }
    bool operator==(const Caller& other) const { return agentUuid == other.agentUuid && token == other.token; }
};

/// One call of one of our services.
struct Call
{
    Service service = Service::GetContext;
    Caller caller;
    std::vector<Argument> arguments; ///< of the declared count and types once checked
    std::shared_ptr<const void> room {}; ///< what it takes of the room for calls that wait, given back with it

    bool boolean(size_t index) const { return std::get<bool>(arguments.at(index)); }
    int32_t integer(size_t index) const { return std::get<int32_t>(arguments.at(index)); }
    double number(size_t index) const { return std::get<double>(arguments.at(index)); }
    const QByteArray& bytes(size_t index) const { return std::get<QByteArray>(arguments.at(index)); }
    QString text(size_t index) const { return QString::fromUtf8(bytes(index)); }
};

struct DeclaredArgument
{
    const char* name;
    qny_value_type_t type;
};

struct DeclaredService
{
    Service service;
    const char* name;
    std::vector<DeclaredArgument> arguments;
};

/// Every service of the recorder with its arguments, in the order in which they are declared on the network.
const std::vector<DeclaredService>& declaredServices();
const DeclaredService& declaredService(Service service);

/// Compares the arguments of a call with the declaration; an integer where a double is declared is made one.
/// Returns what is wrong, or an empty text.
QString checkArguments(const DeclaredService& declared, std::vector<Argument>& arguments);

} // namespace recorder
