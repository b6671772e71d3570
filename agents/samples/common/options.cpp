// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <quenary.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

namespace samples {

namespace {

const std::vector<ProgramInfo::Option>& commonOptions()
{
    static const std::vector<ProgramInfo::Option> options {
        { "name", "NAME", "name of the agent on the network", "" },
        { "device", "DEVICE", "network device, by name or address (else QNY_DEVICE, else lo)", "" },
        { "port", "PORT", "UDP port of discovery (else QNY_PORT, else 5670)", "" },
        { "peers", "LIST", "peers to try besides discovery, host:port,host:port (else QNY_PEERS)", "" },
        { "qnyCert", "FILE", "this agent's private certificate (else QNY_PRIVATE_CERTIFICATE, else no security)", "" },
        { "publicCerts", "DIRECTORY", "public certificates of the agents let in (else QNY_PUBLIC_CERTIFICATES)", "" },
        { "seed", "NUMBER", "seed of everything that is drawn at random", "1" },
        { "journal", "FILE", "append every value published to this file", "" },
    };
    return options;
}

template <typename Number> std::optional<Number> parseNumber(const std::string& text)
{
    Number number {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

bool isAllowed(const ProgramInfo::Option& option, const std::string& value)
{
    if (option.argument.find('|') == std::string::npos) {
        return true;
    }
    return value.find('|') == std::string::npos && !value.empty()
        && ("|" + option.argument + "|").find("|" + value + "|") != std::string::npos;
}

std::string defaultName(const ProgramInfo& info, const std::map<std::string, std::string>& own)
{
    std::string name = info.defaultName;
    const auto place = name.find("%1");
    if (place != std::string::npos && !info.namedBy.empty()) {
        std::string value = own.at(info.namedBy);
        std::transform(value.begin(), value.end(), value.begin(),
            [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        name.replace(place, 2, value);
    }
    return name;
}

} // namespace

std::string helpText(const ProgramInfo& info)
{
    std::string text = "Usage: " + info.program + " [OPTIONS]\n" + info.purpose + "\n\nOptions:\n";
    const auto line = [&text](const std::string& option, const std::string& help) {
        std::string left = "  " + option;
        left.resize(std::max<std::size_t>(left.size() + 2, 26), ' ');
        text += left + help + "\n";
    };
    for (const auto* list : { &info.ownOptions, &commonOptions() }) {
        for (const auto& option : *list) {
            const bool isName = list == &commonOptions() && option.name == "name";
            std::map<std::string, std::string> defaults;
            for (const auto& own : info.ownOptions) {
                defaults[own.name] = own.defaultValue;
            }
            const std::string standard = isName ? defaultName(info, defaults) : option.defaultValue;
            line("--" + option.name + " " + option.argument,
                option.help + (standard.empty() ? "" : " (default: " + standard + ")"));
        }
    }
    line("--help", "show this and end");
    line("--version", "show the version and end");
    return text;
}

std::variant<Options, ParseEnd> parseOptions(const ProgramInfo& info, const std::vector<std::string>& arguments)
{
    const auto wrong = [&info](const std::string& what) {
        return ParseEnd { 2, info.program + ": " + what + " (see " + info.program + " --help)\n" };
    };

    std::map<std::string, std::string> given;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string& argument = arguments[index];
        if (argument == "--help") {
            return ParseEnd { 0, helpText(info) };
        }
        if (argument == "--version") {
            return ParseEnd { 0, info.program + " " + qny_version() + "\n" };
        }
        if (!argument.starts_with("--")) {
            return wrong("unexpected argument \"" + argument + "\"");
        }
        const auto equals = argument.find('=');
        const std::string name = argument.substr(2, equals == std::string::npos ? equals : equals - 2);
        const auto isNamed = [&name](const ProgramInfo::Option& option) { return option.name == name; };
        if (std::none_of(commonOptions().begin(), commonOptions().end(), isNamed)
            && std::none_of(info.ownOptions.begin(), info.ownOptions.end(), isNamed)) {
            return wrong("unknown option \"--" + name + "\"");
        }
        if (equals != std::string::npos) {
            given[name] = argument.substr(equals + 1);
        } else if (index + 1 < arguments.size()) {
            given[name] = arguments[++index];
        } else {
            return wrong("option \"--" + name + "\" needs a value");
        }
    }

    Options options;
    for (const auto& own : info.ownOptions) {
        options.own[own.name] = given.contains(own.name) ? given[own.name] : own.defaultValue;
        if (!isAllowed(own, options.own[own.name])) {
            return wrong(
                "\"" + options.own[own.name] + "\" is no value of \"--" + own.name + "\" (" + own.argument + ")");
        }
    }
    options.name = given.contains("name") ? given["name"] : defaultName(info, options.own);
    if (!qny_name_is_valid(options.name.c_str(), true)) {
        return wrong("\"" + options.name + "\" cannot name an agent");
    }
    options.device = given["device"];
    options.peers = given["peers"];
    options.journal = given["journal"];
    // What was asked to be secured must not come out open because a text was empty.
    for (const auto& [name, path] :
        { std::pair("qnyCert", &options.privateCertificate), std::pair("publicCerts", &options.publicCertificates) }) {
        if (given.contains(name) && given[name].empty()) {
            return wrong(std::string("option \"--") + name + "\" is empty");
        }
        *path = given[name];
    }
    if (given.contains("port")) {
        const auto port = parseNumber<std::uint16_t>(given["port"]);
        if (!port || *port == 0) {
            return wrong("\"" + given["port"] + "\" is no port (1 to 65535)");
        }
        options.port = *port;
    }
    if (given.contains("seed")) {
        const auto seed = parseNumber<std::uint64_t>(given["seed"]);
        if (!seed) {
            return wrong("\"" + given["seed"] + "\" is no seed (a whole number, not negative)");
        }
        options.seed = *seed;
    }
    return options;
}

} // namespace samples
