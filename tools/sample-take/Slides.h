#pragma once

// The slides of the sample take's talk, painted in 1920 × 1080 coordinates. Plain functions of the slide's state.

#include "tools/sample-take/ScreenState.h"

#include <QPainter>

#include <vector>

namespace kelmo {

constexpr int kSlides = 6;
constexpr int kCodeSlide = 3;

/// Paints the whole picture of a slide.
void paintSlide(QPainter& painter, const SlideState& state);

/// Where the pointer goes when a step appears.
[[nodiscard]] QPointF pointOfInterest(int slide, int step);

/// How long each key of the code slide's text takes to find, relative to an ordinary letter.
[[nodiscard]] const std::vector<double>& keyWeights();

// One function for each slide, in order.
void paintTitleSlide(QPainter& painter, const SlideState& state);
void paintOldWaySlide(QPainter& painter, const SlideState& state);
void paintPageSlide(QPainter& painter, const SlideState& state);
void paintCodeSlide(QPainter& painter, const SlideState& state);
void paintChartSlide(QPainter& painter, const SlideState& state);
void paintAdviceSlide(QPainter& painter, const SlideState& state);

} // namespace kelmo
