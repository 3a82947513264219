#pragma once

#include <QString>

#include <exception>
#include <string>

namespace orvane {

// A failure as the user sees it: a domain and code for callers that branch on it, and the texts an
// alert shows. Lower layers return it in tl::expected; AppState turns it into an AppError.
struct Error {
    QString domain;
    int code = 0;
    QString description;
    QString recoverySuggestion;

    static Error make(QString domain, int code, QString description, QString recoverySuggestion = {}) {
        return Error{std::move(domain), code, std::move(description), std::move(recoverySuggestion)};
    }
    // The platform's own failure (a file that cannot be written, say), passed on with its text.
    static Error system(QString description) {
        return Error{QStringLiteral("System"), 0, std::move(description), {}};
    }

    bool operator==(const Error&) const = default;
};

// Carries an Error through code that reports failure by throwing, such as an edit's mutation closure;
// caught at the boundary and turned back into a value.
class ErrorException : public std::exception {
public:
    explicit ErrorException(Error error)
        : m_error(std::move(error))
        , m_what(m_error.description.toStdString()) {}
    const Error& error() const noexcept { return m_error; }
    const char* what() const noexcept override { return m_what.c_str(); }

private:
    Error m_error;
    std::string m_what;
};

} // namespace orvane
