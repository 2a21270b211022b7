#include "bench/chart.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <string>

#include "bench/figure_text.h"

namespace bench {

namespace {
constexpr double WIDTH = 920;
constexpr double LEFT = 250;
constexpr double RIGHT = 700;
constexpr double TOP = 74;
constexpr double ROW = 28;
constexpr double BAR = 14;
constexpr double GRID_STEP = 0.5;
constexpr double LARGEST_SCALE = 3;
} // namespace

// From 0 at the left to `ratio` at the right, a multiple of the grid's step.
struct chart_scale {
    double ratio = 1.5;
    double bottom = TOP;
};

namespace {
double x_of(const chart_scale& scale, double ratio)
{
    return LEFT + (RIGHT - LEFT) * std::clamp(ratio / scale.ratio, 0.0, 1.0);
}

chart_scale scale_for(const std::vector<figure>& charted)
{
    chart_scale scale;
    for (const figure& figure : charted)
        for (const auto& ratio : {figure.ratio, figure.ratio_high, figure.aim})
            if (ratio && *ratio <= LARGEST_SCALE)
                scale.ratio = std::max(scale.ratio, std::ceil(*ratio / GRID_STEP) * GRID_STEP);
    scale.bottom = TOP + ROW * static_cast<double>(charted.size());
    return scale;
}

const char* colour_of(const figure& figure)
{
    if (!figure.aim) return "#8a929c";
    return meets_aim(figure) ? "#1f5fa8" : "#c2571a";
}

std::string escaped(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        if (character == '&')
            result += "&amp;";
        else if (character == '<')
            result += "&lt;";
        else
            result += character;
    }
    return result;
}

void write_text(std::ostream& output, double x, double y, const char* anchor,
                const std::string& markup)
{
    output << "<text x=\"" << x << "\" y=\"" << y << "\" text-anchor=\"" << anchor << "\">"
           << markup << "</text>\n";
}

void write_path(std::ostream& output, const char* stroke, double width,
                const std::vector<std::pair<double, double>>& points)
{
    output << "<polyline fill=\"none\" stroke=\"" << stroke << "\" stroke-width=\"" << width
           << "\" points=\"";
    for (const auto& [x, y] : points)
        output << x << "," << y << " ";
    output << "\"/>\n";
}

void write_grid(std::ostream& output, const chart_scale& scale)
{
    for (double ratio = 0; ratio <= scale.ratio; ratio += GRID_STEP) {
        const double x = x_of(scale, ratio);
        write_path(output, "#ddd", 1, {{x, TOP}, {x, scale.bottom}});
        write_text(output, x, scale.bottom + 18, "middle", ratio_text(ratio));
    }
    write_text(output, (LEFT + RIGHT) / 2, scale.bottom + 38, "middle", "ours / floor");
}

void write_whisker(std::ostream& output, double low, double high, double y)
{
    write_path(output, "#222", 1.2, {{low, y}, {high, y}});
    write_path(output, "#222", 1.2, {{low, y - 4}, {low, y + 4}});
    write_path(output, "#222", 1.2, {{high, y - 4}, {high, y + 4}});
}

// Two slanted white strokes through the bar, near its end.
void write_break(std::ostream& output, double y)
{
    for (const double x : {RIGHT - 34, RIGHT - 27})
        write_path(output, "white", 2.5, {{x - 3, y + BAR / 2 + 2}, {x + 3, y - BAR / 2 - 2}});
}

void write_bar(std::ostream& output, const chart_scale& scale, const figure& figure, double y)
{
    output << "<rect x=\"" << LEFT << "\" y=\"" << y - BAR / 2 << "\" width=\""
           << x_of(scale, *figure.ratio) - LEFT << "\" height=\"" << BAR << "\" fill=\""
           << colour_of(figure) << "\" fill-opacity=\"0.8\"/>\n";
    if (*figure.ratio > scale.ratio)
        write_break(output, y);
    else if (figure.ratio_low && figure.ratio_high)
        write_whisker(output, x_of(scale, *figure.ratio_low), x_of(scale, *figure.ratio_high), y);
    if (figure.aim)
        write_path(output, "#111", 3,
                   {{x_of(scale, *figure.aim), y - ROW / 2 + 2},
                    {x_of(scale, *figure.aim), y + ROW / 2 - 2}});
}

void write_labels(std::ostream& output, const figure& figure, double y)
{
    write_text(output, LEFT - 10, y + 4, "end",
               escaped(figure.workload) + " <tspan fill=\"#777\">" + escaped(figure.measure) +
                   "</tspan>");
    std::string value = "<tspan font-weight=\"bold\">" + ratio_text(*figure.ratio) + "</tspan>";
    const std::string spread = spread_text(figure);
    value += "  <tspan fill=\"#777\">" + spread;
    if (figure.aim) value += (spread.empty() ? "aim " : ", aim ") + aim_text(figure);
    value += "</tspan>";
    write_text(output, RIGHT + 12, y + 4, "start", value);
}

void write_head(std::ostream& output, double height)
{
    output << std::fixed << std::setprecision(1)
           << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << WIDTH << " " << height
           << "\" font-family=\"sans-serif\" font-size=\"12\" fill=\"#333\">\n<rect width=\""
           << WIDTH << "\" height=\"" << height << "\" fill=\"white\"/>\n";
    write_text(output, LEFT, 26, "start",
               "The backend beside the least that it could cost: "
               "<tspan fill=\"#1f5fa8\" font-weight=\"bold\">aim met</tspan>, "
               "<tspan fill=\"#c2571a\" font-weight=\"bold\">missed</tspan>, "
               "<tspan fill=\"#8a929c\" font-weight=\"bold\">reported only</tspan>");
    write_text(
        output, LEFT, 46, "start",
        "<tspan fill=\"#777\">Whisker: where 90 of 100 resamplings lie. Thick tick: the aim, at "
        "most (≤) or at least (≥).</tspan>");
}
} // namespace

void write_chart(std::ostream& output, const std::vector<figure>& figures)
{
    std::vector<figure> charted;
    std::copy_if(figures.begin(), figures.end(), std::back_inserter(charted),
                 [](const figure& figure) { return figure.ratio.has_value(); });
    const chart_scale scale = scale_for(charted);
    write_head(output, scale.bottom + 54);
    write_grid(output, scale);
    double y = TOP + ROW / 2;
    for (const figure& figure : charted) {
        write_bar(output, scale, figure, y);
        write_labels(output, figure, y);
        y += ROW;
    }
    write_path(output, "#333", 1, {{x_of(scale, 1), TOP - 6}, {x_of(scale, 1), scale.bottom}});
    output << "</svg>\n";
}

} // namespace bench
