#pragma once

#include <QString>

#include <tl/expected.hpp>

namespace kelmo {

/// What went wrong, in the form that every folder passes upwards: `domain` and `code` tell callers apart what happened,
/// `description` is one sentence for the user and may be empty when there is nothing useful to say.
struct Error {
    QString domain;
    int code = 0;
    QString description;

    bool operator==(const Error&) const = default;
};

/// The text for a status line or an agent: the description, else the domain and the code.
[[nodiscard]] QString userText(const Error& error);

/// The same for the log, with domain and code behind the description.
[[nodiscard]] QString logText(const Error& error);

template <class T> using Result = tl::expected<T, Error>;

[[nodiscard]] inline tl::unexpected<Error> failure(QString domain, int code, QString description = {})
{
    return tl::unexpected<Error>(Error{std::move(domain), code, std::move(description)});
}

} // namespace kelmo
