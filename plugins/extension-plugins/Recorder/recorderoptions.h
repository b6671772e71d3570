// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QLatin1StringView>

/// The recorder executable's command-line options that the module reads or writes, without their dashes. They are the
/// recorder's own: a change here without one there makes settings vanish silently.

inline constexpr QLatin1StringView RECORDER_NAME_LONG_OPTION_NAME("name");
inline constexpr QLatin1StringView RECORDER_NAME_SHORT_OPTION_NAME("n");

inline constexpr QLatin1StringView RECORDER_CASSANDRA_LONG_OPTION_NAME("cassandra");
inline constexpr QLatin1StringView RECORDER_CASSANDRA_SHORT_OPTION_NAME("c");

inline constexpr QLatin1StringView RECORDER_KEYSPACE_LONG_OPTION_NAME("keyspace");
inline constexpr QLatin1StringView RECORDER_KEYSPACE_SHORT_OPTION_NAME("k");

inline constexpr QLatin1StringView RECORDER_USERNAME_LONG_OPTION_NAME("cassandra_username");
inline constexpr QLatin1StringView RECORDER_USERNAME_SHORT_OPTION_NAME("u");

inline constexpr QLatin1StringView RECORDER_PASSWORD_LONG_OPTION_NAME("cassandra_password");
inline constexpr QLatin1StringView RECORDER_PASSWORD_SHORT_OPTION_NAME("a");

inline constexpr QLatin1StringView RECORDER_VERBOSE_LONG_OPTION_NAME("verbose");
inline constexpr QLatin1StringView RECORDER_VERBOSE_SHORT_OPTION_NAME("v");

inline constexpr QLatin1StringView RECORDER_PRIVATECERT_LONG_OPTION_NAME("qnyCert");
inline constexpr QLatin1StringView RECORDER_PRIVATECERT_SHORT_OPTION_NAME("1");

inline constexpr QLatin1StringView RECORDER_PUBLICCERTS_LONG_OPTION_NAME("publicCerts");
inline constexpr QLatin1StringView RECORDER_PUBLICCERTS_SHORT_OPTION_NAME("2");

inline constexpr QLatin1StringView RECORDER_TIMESTAMPED_REPLAY_LONG_OPTION_NAME("timestamped_replay");
inline constexpr QLatin1StringView RECORDER_TIMESTAMPED_REPLAY_SHORT_OPTION_NAME("5");

/// Completes an endpoint that was given without a port.
inline constexpr QLatin1StringView DEFAULT_CASSANDRA_PORT_STRING("9042");
