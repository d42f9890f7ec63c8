#include "platform/http/UrlScheme.h"

#include "tests/support/TemporaryHome.h"

#include <gtest/gtest.h>

namespace kelmo {

TEST(UrlScheme, handlerIsWhatAnEntryOrTheUsersChoiceNames)
{
    struct Case {
        const char* file;
        const char* content;
        bool isHandled;
    };
    for (const Case& each : {
             Case{".local/share/applications/a.desktop", "[Desktop Entry]\nMimeType=x/y;x-scheme-handler/kelmo-test;\n",
                 true},
             Case{".local/share/applications/vendor/a.desktop", "MimeType=x-scheme-handler/kelmo-test\n", true},
             Case{".local/share/applications/a.desktop", "MimeType=x-scheme-handler/kelmo-test2;\n", false},
             Case{".local/share/applications/a.txt", "MimeType=x-scheme-handler/kelmo-test;\n", false},
             Case{".config/mimeapps.list", "[Default Applications]\nx-scheme-handler/kelmo-test=a.desktop\n", true},
             Case{".config/mimeapps.list", "[Default Applications]\nx-scheme-handler/kelmo-test=\n", false},
         }) {
        const TemporaryHome home;
        EXPECT_FALSE(UrlScheme::hasHandler(QStringLiteral("kelmo-test")));
        home.write(QString::fromLatin1(each.file), each.content);
        EXPECT_EQ(UrlScheme::hasHandler(QStringLiteral("kelmo-test")), each.isHandled) << each.file << each.content;
    }
}

} // namespace kelmo
