#pragma once

#include <QStringList>

namespace kelmo {

/// When pictures changed while something played, and where it stood still. A plain value.
class FrameLog {
public:
    static constexpr double freezeMs = 100; ///< A gap longer than this is a freeze.

    void add(double ms); ///< A picture appeared, ms since the start; ascending.

    [[nodiscard]] int count() const { return m_count; }
    [[nodiscard]] double firstMs() const { return m_firstMs; }
    [[nodiscard]] double maxGapMs() const { return m_maxGapMs; }
    [[nodiscard]] const QStringList& freezes() const { return m_freezes; } ///< Each as "at+length", whole ms.

private:
    int m_count = 0;
    double m_firstMs = 0;
    double m_lastMs = 0;
    double m_maxGapMs = 0;
    QStringList m_freezes;
};

} // namespace kelmo
