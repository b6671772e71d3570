// SPDX-License-Identifier: Apache-2.0

//! What went wrong, as a kind and a sentence that a person can act on.

use scylla::errors::{
    BrokenConnectionError, ConnectionError, ConnectionPoolError, ConnectionSetupRequestError,
    ConnectionSetupRequestErrorKind, DbError, ExecutionError, MetadataError, MetadataFetchErrorKind, NewSessionError,
    PrepareError, RequestAttemptError, UseKeyspaceError,
};

/// As cassandra_error in the header.
#[derive(Clone, Copy, Debug, PartialEq, Eq)]
#[repr(C)]
pub enum Kind {
    Ok = 0,
    Unreachable = 1,
    Unknown = 2,
    WrongPassword = 3,
    NotPermitted = 4,
    Tls = 5,
    BadCa = 6,
    Refused = 7,
    Internal = 8,
}

#[derive(Clone, Debug)]
pub struct Failure {
    pub kind: Kind,
    pub text: String,
}

impl Failure {
    pub fn new(kind: Kind, text: impl Into<String>) -> Self {
        Failure { kind, text: text.into() }
    }
}

/// Whom the sentences are about.
#[derive(Clone, Debug)]
pub struct Server {
    pub address: String, // "127.0.0.1:9042"
    pub user: String,
    pub tls: bool,
}

impl Server {
    pub fn timed_out(&self) -> Failure {
        Failure::new(Kind::Unknown, format!("Cassandra at {} did not answer in time.", self.address))
    }

    pub fn connecting_timed_out(&self) -> Failure {
        Failure::new(
            Kind::Unreachable,
            format!("Cassandra at {} cannot be reached: it did not answer in time.", self.address),
        )
    }

    fn unreachable(&self, why: impl std::fmt::Display) -> Failure {
        Failure::new(Kind::Unreachable, format!("Cassandra at {} cannot be reached: {}.", self.address, why))
    }

    fn broken(&self, error: &BrokenConnectionError) -> Failure {
        Failure::new(
            Kind::Unknown,
            format!("The connection to Cassandra at {} broke: {}.", self.address, whole(error)),
        )
    }

    pub fn database(&self, error: &DbError, message: &str) -> Failure {
        let (kind, sentence) = match error {
            DbError::AuthenticationError => (Kind::WrongPassword, self.wrong_password(message)),
            DbError::Unauthorized => (
                Kind::NotPermitted,
                format!("Cassandra at {} does not permit it: {}.", self.address, trimmed(message)),
            ),
            DbError::Unavailable { required, alive, consistency } => (
                Kind::Unreachable,
                format!(
                    "Cassandra at {} has too few nodes up: {} needs {}, and {} live.",
                    self.address, consistency, required, alive
                ),
            ),
            DbError::Overloaded | DbError::IsBootstrapping | DbError::RateLimitReached { .. } => (
                Kind::Unreachable,
                format!("Cassandra at {} is too busy: {}.", self.address, trimmed(message)),
            ),
            DbError::ReadTimeout { .. } | DbError::WriteTimeout { .. } => (
                Kind::Unknown,
                format!("Not enough nodes of Cassandra at {} answered in time: {}.", self.address, trimmed(message)),
            ),
            DbError::ReadFailure { .. } | DbError::WriteFailure { .. } | DbError::ServerError => (
                Kind::Unknown,
                format!("Cassandra at {} failed: {}.", self.address, trimmed(message)),
            ),
            _ => (
                Kind::Refused,
                format!("Cassandra at {} refused: {}.", self.address, trimmed(message)),
            ),
        };
        Failure::new(kind, sentence)
    }

    fn wrong_password(&self, message: &str) -> String {
        format!(
            "Cassandra at {} does not let the user \"{}\" in: {}. Check --cassandra_username and --cassandra_password.",
            self.address,
            self.user,
            trimmed(message)
        )
    }

    fn password_wanted(&self) -> Failure {
        Failure::new(
            Kind::WrongPassword,
            format!(
                "Cassandra at {} asks for a user: give --cassandra_username and --cassandra_password.",
                self.address
            ),
        )
    }

    pub fn tls_wanted(&self) -> Failure {
        Failure::new(Kind::Tls, format!("Cassandra at {} wants TLS: start with --tls.", self.address))
    }

    fn tls(&self, why: &str) -> Failure {
        let advice = if why.contains("certificate verify failed") {
            "its certificate is not signed by an authority that is trusted here, or does not name its address; give \
             the authority with --tls-ca"
        } else if why.contains("wrong version number") || why.contains("packet length too long") {
            "it does not speak TLS on this port; start without --tls, or give its other port"
        } else {
            return self.unreachable(format!("no encrypted connection came about ({})", trimmed(why)));
        };
        Failure::new(Kind::Tls, format!("Cassandra at {}: {} ({}).", self.address, advice, trimmed(why)))
    }

    fn setup(&self, error: &ConnectionSetupRequestError) -> Failure {
        match error.get_error() {
            ConnectionSetupRequestErrorKind::DbError(error, message) => self.database(error, message),
            ConnectionSetupRequestErrorKind::MissingAuthentication => self.password_wanted(),
            ConnectionSetupRequestErrorKind::BrokenConnection(error) => self.unreachable(whole(error)),
            other => self.unreachable(whole(other)),
        }
    }

    pub fn connection(&self, error: &ConnectionError) -> Failure {
        match error {
            ConnectionError::ConnectTimeout => self.connecting_timed_out(),
            ConnectionError::ConnectionSetupRequestError(error) => self.setup(error),
            ConnectionError::IoError(error) if error.kind() == std::io::ErrorKind::ConnectionRefused => {
                self.unreachable("nobody listens there; start it, or check the address")
            }
            ConnectionError::IoError(error) if self.tls && error.kind() == std::io::ErrorKind::Other => {
                self.tls(&whole(error.as_ref()))
            }
            other => self.unreachable(whole(other)),
        }
    }

    pub fn pool(&self, error: &ConnectionPoolError) -> Failure {
        match error {
            ConnectionPoolError::Broken { last_connection_error } => self.connection(last_connection_error),
            other => self.unreachable(whole(other)),
        }
    }

    pub fn attempt(&self, error: &RequestAttemptError) -> Failure {
        match error {
            RequestAttemptError::DbError(error, message) => self.database(error, message),
            RequestAttemptError::BrokenConnectionError(error) => self.broken(error),
            RequestAttemptError::UnableToAllocStreamId => self.unreachable("too much waits for its answers"),
            other => Failure::new(Kind::Internal, format!("The Cassandra driver failed: {}.", whole(other))),
        }
    }

    pub fn preparing(&self, error: &PrepareError) -> Failure {
        match error {
            PrepareError::ConnectionPoolError(error) => self.pool(error),
            PrepareError::AllAttemptsFailed { first_attempt } => self.attempt(first_attempt),
            other => Failure::new(Kind::Internal, format!("The Cassandra driver failed: {}.", whole(other))),
        }
    }

    pub fn metadata(&self, error: &MetadataError) -> Failure {
        match error {
            MetadataError::ConnectionPoolError(error) => self.pool(error),
            MetadataError::FetchError(error) => match &error.error {
                MetadataFetchErrorKind::PrepareError(error) => self.attempt(error),
                other => self.unreachable(whole(other)),
            },
            other => self.unreachable(whole(other)),
        }
    }

    pub fn execution(&self, error: &ExecutionError) -> Failure {
        match error {
            ExecutionError::LastAttemptError(error) => self.attempt(error),
            ExecutionError::ConnectionPoolError(error) => self.pool(error),
            ExecutionError::PrepareError(error) => self.preparing(error),
            ExecutionError::EmptyPlan => self.unreachable("none of its nodes is up"),
            ExecutionError::RequestTimeout(_) | ExecutionError::SchemaAgreementError(_) => self.timed_out(),
            ExecutionError::MetadataError(error) => self.metadata(error),
            ExecutionError::UseKeyspaceError(error) => self.keyspace(error),
            other => Failure::new(Kind::Internal, format!("The Cassandra driver failed: {}.", whole(other))),
        }
    }

    pub fn keyspace(&self, error: &UseKeyspaceError) -> Failure {
        match error {
            UseKeyspaceError::RequestError(error) => self.attempt(error),
            UseKeyspaceError::RequestTimeout(_) => self.timed_out(),
            other => Failure::new(Kind::Refused, format!("{}.", whole(other))),
        }
    }

    pub fn connecting(&self, error: &NewSessionError) -> Failure {
        match error {
            NewSessionError::FailedToResolveAnyHostname(_) => {
                self.unreachable("there is no machine of that name")
            }
            NewSessionError::MetadataError(error) => self.metadata(error),
            NewSessionError::UseKeyspaceError(error) => self.keyspace(error),
            other => self.unreachable(whole(other)),
        }
    }
}

/// An error with what caused it, each once.
pub fn whole(error: &dyn std::error::Error) -> String {
    let mut text = trimmed(&error.to_string()).to_string();
    let mut cause = error.source();
    while let Some(inner) = cause {
        let more = inner.to_string();
        if !text.contains(more.as_str()) {
            text = format!("{}: {}", text, trimmed(&more));
        }
        cause = inner.source();
    }
    text
}

fn trimmed(message: &str) -> &str {
    message.trim_end_matches(['.', ' ', '\n'])
}
