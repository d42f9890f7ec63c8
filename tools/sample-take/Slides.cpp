#include "tools/sample-take/Slides.h"

#include "tools/sample-take/SlideStyle.h"

namespace kelmo {

namespace {

void paintBackground(QPainter& painter)
{
    // One colour: a dark gradient comes out of an encoder as stripes.
    painter.fillRect(QRectF(0, 0, 1920, 1080), style::Ink);
}

void paintFooter(QPainter& painter, int slide)
{
    style::write(painter, {140, 1012}, QStringLiteral("Cut the words, keep the story"), style::body(24), style::Faint);
    painter.setPen(Qt::NoPen);
    for (int index = 0; index < kSlides; ++index) {
        painter.setBrush(index == slide ? style::Yellow : style::Faint);
        painter.drawEllipse(QPointF(960 + (index - (kSlides - 1) / 2.0) * 26, 1004), 5, 5);
    }
}

} // namespace

void paintSlide(QPainter& painter, const SlideState& state)
{
    using Paint = void (*)(QPainter&, const SlideState&);
    constexpr std::array<Paint, kSlides> slides
        = {paintTitleSlide, paintOldWaySlide, paintPageSlide, paintCodeSlide, paintChartSlide, paintAdviceSlide};
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    paintBackground(painter);
    slides[static_cast<size_t>(state.slide)](painter, state);
    paintFooter(painter, state.slide);
}

QPointF pointOfInterest(int slide, int step)
{
    static const std::array<std::vector<QPointF>, kSlides> points = {{
        {{1180, 720}, {1060, 640}, {1130, 690}},
        {{560, 236}, {430, 380}, {1290, 520}, {1450, 640}},
        {{620, 236}, {520, 470}, {742, 560}, {1010, 640}},
        {{1120, 236}, {1600, 420}, {1640, 560}, {1600, 720}},
        {{620, 236}, {560, 520}, {1230, 700}, {1500, 400}},
        {{520, 236}, {520, 400}, {640, 560}, {600, 720}, {1180, 860}},
    }};
    const auto& ofSlide = points[static_cast<size_t>(slide)];
    return ofSlide[std::min(static_cast<size_t>(step), ofSlide.size() - 1)];
}

} // namespace kelmo
