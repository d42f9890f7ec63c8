#include "share/API.h"

#include "share/PartReader.h"
#include "share/PartUploads.h"
#include "tests/fakes/ShareServer.h"

#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

namespace kelmo {

namespace {

using Fault = ShareServer::Fault;
using Handling = ShareServer::Handling;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

class APITest : public testing::Test {
protected:
    APITest()
    {
        ShareServer::Options options;
        options.folder = m_folder.filePath(text("server"));
        m_server = std::make_unique<ShareServer>(options);
    }

    [[nodiscard]] API api(bool signedIn = false)
    {
        return {m_server->endpoint(), text("sesame-0123456789"), signedIn, &m_client};
    }

    [[nodiscard]] Result<QJsonObject> answered(const Handling& handling, bool signedIn = false)
    {
        m_server->setScript([handling](const ShareServer::Request&) { return handling; });
        QCoro::Task<Result<QJsonObject>> posting = api(signedIn).post(text("/api/shares"), {{text("a"), 1}});
        return QCoro::waitFor(posting);
    }

    QTemporaryDir m_folder;
    std::unique_ptr<ShareServer> m_server;
    HttpClient m_client{std::chrono::seconds(10)};
};

} // namespace

TEST_F(APITest, sendTurnsRepliesIntoObjectsAndNeverFailsOnASuccessfulBody)
{
    EXPECT_EQ(
        answered({Fault::Status, 200, R"({"id":"1","n":2})"}), (QJsonObject{{text("id"), text("1")}, {text("n"), 2}}));
    for (const QByteArray& body : {QByteArray(), QByteArray("[1]"), QByteArray("<html>"), QByteArray(300'000, 'x')})
        EXPECT_EQ(answered({Fault::Status, 201, body}), QJsonObject()) << body.left(20).constData();
    EXPECT_EQ(answered({Fault::Status, 204, ""}), QJsonObject());
    const ShareServer::Request last = m_server->requests().back();
    EXPECT_EQ(last.authorization, "Bearer sesame-0123456789");
    EXPECT_EQ(last.contentType, "application/json");
}

TEST_F(APITest, sendOtherStatusesBecomeTheServersWords)
{
    const QByteArray page = "<html>" + QByteArray(10'000, 'e');
    const struct {
        Handling handling;
        bool signedIn;
        QString message;
    } cases[] = {
        {{Fault::Status, 500, page}, false, text("Share server error 500: ") % QString::fromUtf8(page.left(160))},
        {{Fault::Status, 404, R"({"message":"Gone"})"}, false, text("Gone")},
        {{Fault::Status, 400, R"({"message":7})"}, false, text("Share server error 400: {\"message\":7}")},
        {{Fault::Status, 503, "\xff\xfe!"}, false, text("Share server error 503: \uFFFD\uFFFD!")},
        {{Fault::Status, 401, R"({"message":"no"})"}, false,
            text("The share server rejected the token — check Settings.")},
        {{Fault::Status, 401, R"({"message":"no"})"}, true,
            text("Your sign-in has expired — choose Sign In… from the Vorlix menu bar icon.")},
        {{Fault::Status, 307, ""}, false, text("Share server error 307: ")},
    };
    for (const auto& each : cases) {
        const Result<QJsonObject> failed = answered(each.handling, each.signedIn);
        ASSERT_FALSE(failed);
        EXPECT_EQ(failed.error(), (Error{text("Share"), each.handling.status, each.message}));
    }
}

TEST_F(APITest, sendBrokenConnectionsFailOnceAndAreNotAnswers)
{
    for (const Fault fault : {Fault::Drop, Fault::DropInside, Fault::Garbage, Fault::CutReply, Fault::LoseReply}) {
        const size_t before = m_server->requests().size();
        const Result<QJsonObject> failed = answered({fault});
        ASSERT_FALSE(failed) << int(fault);
        EXPECT_EQ(failed.error().domain, text("Network")) << int(fault);
        EXPECT_TRUE(failed.error().description.startsWith(text("Can’t reach the share server: ")));
        EXPECT_EQ(m_server->requests().size(), before + 1);
    }
}

TEST_F(APITest, requestThatIsNoAddressIsNotSent)
{
    for (const char* endpoint : {"", "s.example", "ftp://s.example", "http://", "http://a b", "file:///etc"}) {
        API api = this->api();
        api.endpoint = text(endpoint);
        QCoro::Task<Result<QJsonObject>> posting = api.post(text("/api/shares"), {});
        const Result<QJsonObject> failed = QCoro::waitFor(posting);
        ASSERT_FALSE(failed) << endpoint;
        EXPECT_EQ(failed.error(),
            (Error{text("Share"), 0, QString(text("The share server’s address is not valid: ") % text(endpoint))}));
    }
    EXPECT_EQ(m_server->requests().size(), 0U);
}

TEST_F(APITest, abortEndsWhatIsUnderWayAndWhatComesAfter)
{
    m_server->setScript([](const ShareServer::Request&) { return Handling{Fault::Silent}; });
    QCoro::Task<Result<QJsonObject>> pending = api().post(text("/api/shares"), {});
    m_client.abort();
    const Result<QJsonObject> cancelled = QCoro::waitFor(pending);
    ASSERT_FALSE(cancelled);
    EXPECT_EQ(cancelled.error(), shareCancelled().value());
    QCoro::Task<Result<QJsonObject>> later = api().putPart(text("1"), 1, {"x"}, {});
    EXPECT_EQ(QCoro::waitFor(later), cancelled);
}

TEST_F(APITest, abortEndsTheWaitBetweenTwoAttempts)
{
    m_server->setScript([](const ShareServer::Request&) { return Handling{Fault::Status, 500}; });
    ShareTimeouts pace;
    pace.retryWait = std::chrono::hours(1);
    QCoro::Task<Result<QJsonObject>> putting = api().putPart(text("1"), 1, {"x"}, pace);
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (m_server->requests().size() == 1)
            m_client.abort();
    });
    poll.start(50);
    const Result<QJsonObject> failed = QCoro::waitFor(putting);
    ASSERT_FALSE(failed);
    EXPECT_EQ(m_server->requests().size(), 1U);
}

TEST_F(APITest, partUploadsEndAtOnceWhenAborted)
{
    QFile file(m_folder.filePath(text("movie.mp4")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(1'000'000, 'x'));
    file.close();
    m_server->setScript([](const ShareServer::Request&) { return Handling{Fault::Silent}; });
    PartUploads uploads(api(), text("1"), 100'000, {});
    QCoro::Task<Result<QJsonArray>> running = uploads.run(file.fileName());
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (m_server->requests().size() == 4)
            uploads.abort();
    });
    poll.start(50);
    const Result<QJsonArray> cancelled = QCoro::waitFor(running);
    ASSERT_FALSE(cancelled);
    EXPECT_EQ(cancelled.error(), shareCancelled().value());
    EXPECT_EQ(m_server->requests().size(), 4U);
    QCoro::Task<Result<QJsonArray>> later = uploads.run(file.fileName());
    EXPECT_EQ(QCoro::waitFor(later), cancelled);
}

TEST_F(APITest, partsOfAFileThatShrinksMeanwhileAreNoSilentLoss)
{
    QFile file(m_folder.filePath(text("movie.mp4")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(3'000'000, 'x'));
    file.close();
    PartUploads uploads(api(), text("1"), 1'000'000, {});
    QCoro::Task<Result<QJsonArray>> running = uploads.run(file.fileName());
    ASSERT_TRUE(QFile::resize(file.fileName(), 10));
    const Result<QJsonArray> failed = QCoro::waitFor(running);
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().description, text("Can’t read movie.mp4: it has become shorter"));
}

TEST_F(APITest, interimAnswersAreNotTheAnswer)
{
    const Result<QJsonObject> created = [&] {
        m_server->setScript([](const ShareServer::Request&) { return Handling{Fault::Processing}; });
        QCoro::Task<Result<QJsonObject>> posting
            = api().post(text("/api/shares"), {{text("title"), text("a")}, {text("durationMs"), 1}});
        return QCoro::waitFor(posting);
    }();
    ASSERT_TRUE(created) << qPrintable(userText(created.error()));
    EXPECT_EQ(created->value(u"id").toString(), text("1"));
}

TEST_F(APITest, idsStayOneStepOfThePath)
{
    const struct {
        const char* id;
        QByteArray path;
    } cases[] = {
        {"a1-_~", "/api/shares/a1-_~/progress"},
        {"../x", "/api/shares/..%2Fx/progress"},
        {"a/b?c#d e", "/api/shares/a%2Fb%3Fc%23d%20e/progress"},
        {"100%", "/api/shares/100%25/progress"},
        {"%2e%2e", "/api/shares/%252e%252e/progress"},
        {"ü\\", "/api/shares/%C3%BC%5C/progress"},
        {"...", "/api/shares/.../progress"},
    };
    for (const auto& each : cases) {
        EXPECT_TRUE(API::isUsableId(text(each.id)));
        QCoro::Task<Result<QJsonObject>> posting = api().post(API::sharePath(text(each.id), text("progress")), {});
        [[maybe_unused]] const Result<QJsonObject> refused = QCoro::waitFor(posting);
        EXPECT_EQ(m_server->requests().back().path.constData(), each.path);
    }
    for (const QString& id : {QString(), text("."), text(".."), text("a\nb"), text("\u0085"), QString(QChar(0xD800))})
        EXPECT_FALSE(API::isUsableId(id)) << qPrintable(id);
}

TEST(PartReader, partCutsTheFileIntoNumberedParts)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(text("movie.mp4"));
    const auto reader = [&](const QByteArray& bytes, qint64 partSize) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
        return PartReader::open(path, partSize).value();
    };
    const auto stretch = [](const HttpBody& part) {
        EXPECT_EQ(part.bytes, QByteArray());
        return part.file ? std::pair(part.offset, part.length) : std::pair<qint64, qint64>(-1, part.size());
    };
    const PartReader three = reader("abcdefgh", 3);
    EXPECT_EQ(three.count(), 3);
    EXPECT_EQ(stretch(three.part(3)), std::pair(6LL, 2LL));
    EXPECT_EQ(stretch(three.part(1)), std::pair(0LL, 3LL));
    EXPECT_EQ(stretch(three.part(2)), std::pair(3LL, 3LL));
    EXPECT_EQ(stretch(three.part(4)), std::pair(-1LL, 0LL));
    EXPECT_EQ(reader("abcdef", 3).count(), 2);
    EXPECT_EQ(reader("", 3).count(), 1);
    EXPECT_EQ(reader("", 3).part(1).size(), 0);
    EXPECT_EQ(stretch(reader("abc", std::numeric_limits<qint64>::max()).part(1)), std::pair(0LL, 3LL));
    const PartReader oneMore = reader(QByteArray(16'777'217, 'x'), API::usualPartSize);
    EXPECT_EQ(oneMore.count(), 2);
    EXPECT_EQ(stretch(oneMore.part(2)), std::pair(16'777'216LL, 1LL));

    QFile::remove(path);
    const auto missing = PartReader::open(path, 3);
    ASSERT_FALSE(missing);
    EXPECT_TRUE(missing.error().description.startsWith(text("Can’t read movie.mp4: ")));
}

} // namespace kelmo
