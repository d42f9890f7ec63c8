#include "media/stack/container/FileKind.h"

#include <algorithm>
#include <array>

namespace kelmo {

namespace {

using namespace Qt::StringLiterals;

/// A kind of file whose bytes from `at` on are `mark`.
struct Kind {
    int at;
    QByteArrayView mark;
    const char16_t* name;
};

constexpr std::array kinds{
    Kind{0, "\x89PNG\r\n", u"a PNG image"},
    Kind{0, "\xff\xd8\xff", u"a JPEG image"},
    Kind{0, "GIF8", u"a GIF image"},
    Kind{8, "WEBP", u"a WebP image"},
    Kind{0, QByteArrayView("II*\0", 4), u"a TIFF image"},
    Kind{0, QByteArrayView("MM\0*", 4), u"a TIFF image"},
    Kind{4, "ftypheic", u"a HEIC image"},
    Kind{4, "ftypmif1", u"a HEIC image"},
    Kind{4, "ftypavif", u"an AVIF image"},
    Kind{8, "WAVE", u"a WAV sound file"},
    Kind{0, "OggS", u"an Ogg file"},
    Kind{0, "fLaC", u"a FLAC sound file"},
    Kind{0, "ID3", u"an MP3 sound file"},
    Kind{0, "\xff\xfb", u"an MP3 sound file"},
    Kind{0, "\xff\xf3", u"an MP3 sound file"},
    Kind{0, "\xff\xf1", u"an AAC sound file"},
    Kind{0, "\xff\xf9", u"an AAC sound file"},
    Kind{0, "#!AMR", u"an AMR sound file"},
    Kind{0, "FORM", u"an AIFF sound file"},
    Kind{0, "caff", u"a CAF sound file"},
    Kind{0, "MThd", u"a MIDI file"},
    Kind{0, "FLV\1", u"a Flash video"},
    Kind{0, "FWS", u"a Flash program"},
    Kind{0, "CWS", u"a Flash program"},
    Kind{0, "\x30\x26\xb2\x75", u"a Windows Media file"},
    Kind{0, ".RMF", u"a RealMedia file"},
    Kind{0, QByteArrayView("\0\0\1\xba", 4), u"an MPEG program stream"},
    Kind{0, QByteArrayView("\0\0\1\xb3", 4), u"a bare MPEG video"},
    Kind{0, "YUV4MPEG2", u"an uncompressed video"},
    Kind{0, "DKIF", u"an IVF video"},
    Kind{0, "%PDF", u"a PDF document"},
    Kind{0, "PK\3\4", u"a ZIP archive or an office document"},
    Kind{0, "7z\xbc\xaf", u"a 7z archive"},
    Kind{0, "Rar!", u"a RAR archive"},
    Kind{0, "\x1f\x8b", u"a gzip archive"},
    Kind{0, "BZh", u"a bzip2 archive"},
    Kind{0,
        "\xfd"
        "7zXZ",
        u"an xz archive"},
    Kind{257, "ustar", u"a tar archive"},
    Kind{0,
        "\x7f"
        "ELF",
        u"a program"},
    Kind{0, "SQLite format 3", u"a database"},
    Kind{0, "#EXTM3U", u"a playlist"},
    Kind{0, "WEBVTT", u"a subtitle file"},
    Kind{0, "<!DOCTYPE", u"a web page"},
    Kind{0, "<html", u"a web page"},
    Kind{0, "<?xml", u"an XML file"},
};

bool isText(QByteArrayView head)
{
    const auto isPrintable = [](char c) { return uint8_t(c) >= ' ' || c == '\n' || c == '\r' || c == '\t'; };
    // A box's size comes first in a movie, and holds a zero.
    return head.size() >= 8 && std::all_of(head.begin(), head.end(), isPrintable)
        && std::all_of(head.begin(), head.begin() + 8, [](char c) { return uint8_t(c) < 0x80; });
}

} // namespace

QString kindOfFile(QByteArrayView head)
{
    for (const Kind& kind : kinds) {
        if (head.size() >= kind.at + kind.mark.size() && head.sliced(kind.at, kind.mark.size()) == kind.mark)
            return QString::fromUtf16(kind.name);
    }
    return isText(head) ? u"a text file"_s : QString();
}

QString whatCanBeOpened() { return u"MOV, MP4, MKV, WebM, AVI and TS movies can be opened"_s; }

} // namespace kelmo
