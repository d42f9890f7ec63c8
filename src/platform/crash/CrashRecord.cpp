#include "platform/crash/CrashRecord.h"

#include <QList>

namespace kelmo {

namespace {

/// Reads a record line by line into the section begun last.
class RecordParser {
public:
    void read(const QByteArray& line)
    {
        const qsizetype blank = line.indexOf(' ');
        const QByteArray key = blank < 0 ? line : line.left(blank);
        const QByteArray value = blank < 0 ? QByteArray() : line.mid(blank + 1);
        if (key == "crash") {
            m_section = &m_record.crashes.emplace_back();
            m_open = Open::Crash;
        } else if (key == "hang") {
            m_section = &m_record.hangs.emplace_back();
            m_open = Open::Hang;
        } else if (key == "end") {
            m_open = Open::None;
        } else if (m_open == Open::None) {
            readHeader(key, value);
        } else {
            readSection(key, value);
        }
    }

    [[nodiscard]] CrashRecord finish()
    {
        std::erase_if(m_record.crashes, [](const CrashRecord::Crash& crash) { return crash.signal <= 0; });
        std::erase_if(m_record.hangs, [](const CrashRecord::Hang& hang) { return hang.durationMs <= 0; });
        return std::move(m_record);
    }

private:
    enum class Open { None, Crash, Hang };

    void readHeader(const QByteArray& key, const QByteArray& value)
    {
        if (key == "version")
            m_record.version = QString::fromUtf8(value);
        else if (key == "build")
            m_record.build = QString::fromUtf8(value);
        else if (key == "system")
            m_record.system = QString::fromUtf8(value);
        else if (key == "architecture")
            m_record.architecture = QString::fromUtf8(value);
    }

    void readSection(const QByteArray& key, const QByteArray& value)
    {
        if (key == "module")
            readModule(value.split(' '));
        else if (key == "frame")
            readFrame(value);
        else if (m_open == Open::Crash)
            readCrash(m_record.crashes.back(), key, value);
        else if (key == "lasted")
            m_record.hangs.back().durationMs = value.toLongLong();
    }

    void readModule(const QList<QByteArray>& values)
    {
        if (values.size() < 5)
            return;
        m_section->modules.push_back(
            {values[0].toULongLong(nullptr, 16), values[1].toULongLong(nullptr, 16), values[2].toULongLong(nullptr, 16),
                values[3] == "-" ? QByteArray() : values[3], QString::fromUtf8(values.mid(4).join(' '))});
    }

    void readFrame(const QByteArray& value)
    {
        bool isNumber = false;
        const quint64 address = value.toULongLong(&isNumber, 16);
        if (isNumber)
            m_section->frames.push_back(address);
    }

    static void readCrash(CrashRecord::Crash& crash, const QByteArray& key, const QByteArray& value)
    {
        const quint64 number = value.toULongLong(nullptr, 16);
        if (key == "signal")
            crash.signal = value.toInt();
        else if (key == "code")
            crash.code = value.toInt();
        else if (key == "address")
            crash.address = number;
        else if (key == "region")
            readRegion(crash, value.split(' '));
    }

    static void readRegion(CrashRecord::Crash& crash, const QList<QByteArray>& values)
    {
        if (values.size() < 4)
            return;
        crash.region = CrashRecord::Region{values[0].toULongLong(nullptr, 16), values[1].toULongLong(nullptr, 16),
            QString::fromUtf8(values[2]), QString::fromUtf8(values.mid(3).join(' '))};
    }

    CrashRecord m_record;
    CrashRecord::Section* m_section = nullptr;
    Open m_open = Open::None;
};

} // namespace

CrashRecord CrashRecord::parse(const QByteArray& bytes)
{
    RecordParser parser;
    // What follows the last line feed is a line that was never finished.
    for (qsizetype start = 0, end = 0; (end = bytes.indexOf('\n', start)) >= 0; start = end + 1)
        parser.read(bytes.mid(start, end - start));
    return parser.finish();
}

} // namespace kelmo
