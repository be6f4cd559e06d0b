// The drawing's layout: no label covers another, in plan and profile, however dense the
// station ticks; every colour of the plan is named in its legend; CJK names are drawn.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "draw.hpp"

namespace {

using rcctool::DrawingLayout;
using rcctool::PlacedLabel;

DrawingLayout layOut(const std::string& file, double tick = 0.0, int width = 1600) {
    rcctool::DrawOptions options;
    options.tick = tick;
    options.width = width;
    return rcctool::layOutDrawing(rcctool::loadRoute(file, {}), options, {});
}

bool overlap(const PlacedLabel& a, const PlacedLabel& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

void expectNoOverlap(const DrawingLayout& layout) {
    for (std::size_t i = 0; i < layout.labels.size(); ++i) {
        const PlacedLabel& a = layout.labels[i];
        EXPECT_GT(a.right, a.left) << a.text;
        for (std::size_t j = i + 1; j < layout.labels.size(); ++j) {
            EXPECT_FALSE(overlap(a, layout.labels[j]))
                << "\"" << a.text << "\" covers \"" << layout.labels[j].text << "\"";
        }
    }
}

const PlacedLabel* findLabel(const DrawingLayout& layout, const std::string& prefix) {
    for (const PlacedLabel& l : layout.labels) {
        if (l.text.compare(0, prefix.size(), prefix) == 0) return &l;
    }
    return nullptr;
}

bool hasLabel(const DrawingLayout& layout, const std::string& text) {
    return std::any_of(layout.labels.begin(), layout.labels.end(),
                       [&](const PlacedLabel& l) { return l.text == text; });
}

// Whether the route's end is drawn up and to the left of (or right of) its beginning.
void expectEndFromBegin(const DrawingLayout& layout, bool up, bool right) {
    const PlacedLabel* begin = findLabel(layout, "BEGIN ");
    const PlacedLabel* end = findLabel(layout, "END ");
    ASSERT_TRUE(begin && end);
    EXPECT_EQ(end->top < begin->top, up);
    EXPECT_EQ(end->left > begin->left, right);
}

TEST(DrawLayout, LabelsOfTheExampleAndThePublishedRouteNeverOverlap) {
    for (const std::string& file :
         {std::string(RCC_EXAMPLE), std::string(RCC_TEST_DATA) + "/published_five_curves.json"}) {
        SCOPED_TRACE(file);
        const DrawingLayout layout = layOut(file);
        expectNoOverlap(layout);
        EXPECT_EQ(layout.unlegendedColours, 0u);
        // The intersection points are labelled first, so none is ever left out.
        for (const char* name : {"JD1", "JD2", "JD3", "JD4"}) EXPECT_TRUE(hasLabel(layout, name));
    }
    // The published route runs north-west in the NE frame: its grid is labelled N and E.
    const DrawingLayout ne = layOut(std::string(RCC_TEST_DATA) + "/published_five_curves.json");
    // On a 1600-pixel page every label of the published route finds a place.
    EXPECT_EQ(ne.omitted, 0u);
    EXPECT_TRUE(hasLabel(ne, "3357000"));  // northing grid every 500
    EXPECT_TRUE(hasLabel(ne, "N"));
    EXPECT_TRUE(hasLabel(ne, "E"));
    EXPECT_TRUE(hasLabel(ne, "500 m"));
}

TEST(DrawLayout, PlanIsNorthUpInBothFrames) {
    // Published route (NE frame): the end lies 1850 north and 1800 west of the beginning.
    expectEndFromBegin(layOut(std::string(RCC_TEST_DATA) + "/published_five_curves.json"),
                       /*up=*/true, /*right=*/false);
    // Example (XY frame): the end lies 4300 along x and 500 along y from the beginning.
    expectEndFromBegin(layOut(RCC_EXAMPLE), /*up=*/true, /*right=*/true);
}

TEST(DrawLayout, DenseTicksLeaveLabelsOutRatherThanOverlapThem) {
    // 10 m ticks on 4.6 km: far more station labels than plan or profile can hold.
    expectNoOverlap(layOut(RCC_EXAMPLE, 10.0, 400));
    const DrawingLayout layout = layOut(RCC_EXAMPLE, 10.0);
    expectNoOverlap(layout);
    EXPECT_GT(layout.omitted, 0u);
    EXPECT_TRUE(hasLabel(layout, "300.000 = 340.000 short chain"));
    EXPECT_TRUE(hasLabel(layout, "2390.000 = 2330.000 long chain"));
}

TEST(DrawLayout, TransitionBetweenRadiiIsInTheLegend) {
    const DrawingLayout layout = layOut(std::string(RCC_TEST_DATA) + "/between_radii.json");
    EXPECT_EQ(layout.unlegendedColours, 0u);
    EXPECT_TRUE(hasLabel(layout, "transition between radii"));
    expectNoOverlap(layout);
}

TEST(DrawLayout, CJKNamesAreDrawnAsGivenAndTheXYFrameIsLabelledXY) {
    const DrawingLayout cjk = layOut(std::string(RCC_TEST_DATA) + "/cjk_names.json");
    for (const char* name : {"交点一", "交点二", "变坡点一"}) EXPECT_TRUE(hasLabel(cjk, name));
    expectNoOverlap(cjk);
    const DrawingLayout xy = layOut(std::string(RCC_TEST_DATA) + "/small_route.json");
    EXPECT_TRUE(hasLabel(xy, "x"));
    EXPECT_TRUE(hasLabel(xy, "y"));
}

TEST(DrawLayout, IllFormedTextIsDrawnWithQuestionMarks) {
    // Latin-1 "Straße" and a CJK character cut short: cairo refuses either as it stands.
    qv::route::RouteDescription d;
    d.name =
        "Stra\xdf"
        "e \xe8\xb7";
    d.horizontal.points = {{"", 0.0, 0.0}, {"\xff", 100.0, 50.0, 40.0}, {"", 200.0, 0.0}};
    const DrawingLayout layout =
        rcctool::layOutDrawing(qv::route::Route::build(d), rcctool::DrawOptions{}, {});
    const PlacedLabel* title = findLabel(layout, "Stra?e ?");
    ASSERT_NE(title, nullptr);
    EXPECT_TRUE(hasLabel(layout, "?"));
}

}  // namespace
