#pragma once

#include "platform/Error.h"

#include <QFile>
#include <QUrl>

#include <chrono>
#include <memory>
#include <vector>

namespace kelmo {

/// What a request carries: bytes, or a stretch of a file, which is read while it is sent.
struct HttpBody {
    QByteArray bytes = {};
    std::shared_ptr<const QFile> file = nullptr; ///< Open for reading; null if the bytes are the body.
    qint64 offset = 0; ///< In the file, in bytes.
    qint64 length = 0; ///< Of the stretch, in bytes.

    [[nodiscard]] qint64 size() const { return file ? length : bytes.size(); }
};

/// One request to a server. A plain value.
struct HttpRequest {
    enum class Redirects { Answer, Follow };
    struct Header {
        QByteArray name;
        QByteArray value;
    };

    QUrl url;
    QByteArray method = "GET"; ///< A GET has no body.
    std::vector<Header> headers = {};
    HttpBody body = {};
    /// A redirection is an answer like any other unless it is followed. Headers go wherever it leads.
    Redirects redirects = Redirects::Answer;
};

/// What a server answered.
struct HttpAnswer {
    int status = 0;
    QByteArray body; ///< At most 1 MiB; what follows is not read.
};

} // namespace kelmo
