#include <gmock/gmock.h>
#include <sstream>

#include "bench/chart.h"

using namespace bench;

using testing::HasSubstr;
using testing::Not;

namespace {
figure charted(double ratio, std::optional<double> aim = {})
{
    figure figure = {.workload = "take", .measure = "p50", .unit = "us", .ours = 3};
    figure.floor = 2;
    figure.ratio = ratio;
    figure.ratio_low = ratio - 0.25;
    figure.ratio_high = ratio + 0.5;
    figure.aim = aim;
    return figure;
}

std::string chart_of(const std::vector<figure>& figures)
{
    std::ostringstream output;
    write_chart(output, figures);
    return output.str();
}

// A bar in the row of that number, from 0.
std::string bar(int row, const std::string& width, const std::string& colour)
{
    return "<rect x=\"250.0\" y=\"" + std::to_string(81 + 28 * row) + ".0\" width=\"" + width +
           "\" height=\"14.0\" fill=\"" + colour + "\"";
}
} // namespace

TEST(Chart, BarIsAsLongAsTheRatio)
{
    EXPECT_THAT(chart_of({charted(0.5), charted(1)}), AllOf(HasSubstr(bar(0, "150.0", "#8a929c")),
                                                            HasSubstr(bar(1, "300.0", "#8a929c"))));
}

TEST(Chart, ColourTellsWhetherTheAimIsMet)
{
    EXPECT_THAT(chart_of({charted(1, 1.25), charted(1, 0.75), charted(1)}),
                AllOf(HasSubstr(bar(0, "300.0", "#1f5fa8")), HasSubstr(bar(1, "300.0", "#c2571a")),
                      HasSubstr(bar(2, "300.0", "#8a929c"))));
}

TEST(Chart, WhiskerSpansTheSpread)
{
    EXPECT_THAT(chart_of({charted(1)}), HasSubstr("points=\"475.0,88.0 700.0,88.0 \""));
}

TEST(Chart, TickStandsAtTheAim)
{
    EXPECT_THAT(chart_of({charted(1, 1.25)}),
                HasSubstr("stroke-width=\"3.0\" points=\"625.0,76.0 625.0,100.0 \""));
    EXPECT_THAT(chart_of({charted(1)}), Not(HasSubstr("stroke-width=\"3.0\"")));
}

TEST(Chart, LineStandsWhereOursCostsWhatTheFloorCosts)
{
    EXPECT_THAT(chart_of({charted(1)}), HasSubstr("points=\"550.0,68.0 550.0,102.0 \""));
}

TEST(Chart, ScaleHoldsSpreadsAndAims)
{
    EXPECT_THAT(chart_of({charted(1.2)}), HasSubstr(bar(0, "270.0", "#8a929c")));
    EXPECT_THAT(chart_of({charted(1, 2.5)}), HasSubstr(bar(0, "180.0", "#1f5fa8")));
}

TEST(Chart, LargeRatioIsABrokenBarThatSquashesNoOther)
{
    const std::string chart = chart_of({charted(40), charted(1)});
    EXPECT_THAT(chart, HasSubstr(bar(0, "450.0", "#8a929c")));
    EXPECT_THAT(chart, HasSubstr("stroke=\"white\" stroke-width=\"2.5\""));
    EXPECT_THAT(chart, HasSubstr(">40.0</tspan>"));
    EXPECT_THAT(chart, HasSubstr(bar(1, "300.0", "#8a929c")));
    EXPECT_THAT(chart_of({charted(1)}), Not(HasSubstr("stroke=\"white\"")));
}

TEST(Chart, LabelsTellTheFigureAndItsRatio)
{
    const std::string chart = chart_of({charted(1, 1.25)});
    EXPECT_THAT(chart, HasSubstr(">take <tspan fill=\"#777\">p50</tspan></text>"));
    EXPECT_THAT(chart, HasSubstr(">1.00</tspan>  <tspan fill=\"#777\">0.75-1.50, aim ≤ 1.25<"));
}

TEST(Chart, LabelsTellTheAimOfAFigureWithoutSpread)
{
    figure figure = charted(1, 1.25);
    figure.ratio_low.reset();
    figure.ratio_high.reset();
    EXPECT_THAT(chart_of({figure}), HasSubstr(">1.00</tspan>  <tspan fill=\"#777\">aim ≤ 1.25<"));
}

TEST(Chart, LabelsMayHoldWhatMeansSomethingInXml)
{
    figure figure = charted(1);
    figure.workload = "a<b";
    figure.measure = "c&d";
    EXPECT_THAT(chart_of({figure}), HasSubstr(">a&lt;b <tspan fill=\"#777\">c&amp;d</tspan>"));
}

TEST(Chart, LeavesOutFiguresWithoutARatio)
{
    figure without = charted(1);
    without.ratio.reset();
    const std::string chart = chart_of({without, charted(1)});
    EXPECT_THAT(chart, HasSubstr(bar(0, "300.0", "#8a929c")));
    EXPECT_THAT(chart, HasSubstr("viewBox=\"0 0 920.0 156.0\""));
}
