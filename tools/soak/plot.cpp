#include "soak/plot.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <string>

namespace soak {

namespace {
constexpr double LEFT = 70;
constexpr double RIGHT = 880;
constexpr double TOP = 50;
constexpr double BOTTOM = 340;
constexpr int GRID_LINES = 5;
} // namespace

struct plot_scale {
    double seconds = 1; // the whole width
    double kib = 1;     // the whole height
};

namespace {
double x_of(const plot_scale& scale, double seconds)
{
    return LEFT + (RIGHT - LEFT) * seconds / scale.seconds;
}

double y_of(const plot_scale& scale, double kib)
{
    return BOTTOM - (BOTTOM - TOP) * kib / scale.kib;
}

// A round number of KiB above all values, so that the grid stands on round numbers as well.
plot_scale scale_for(const std::vector<cost_sample>& samples)
{
    plot_scale scale;
    for (const cost_sample& sample : samples) {
        scale.seconds = std::max(scale.seconds, sample.seconds);
        scale.kib = std::max(scale.kib, static_cast<double>(sample.cost.pss_kib));
    }
    const double step = std::pow(10, std::floor(std::log10(scale.kib))) / 2;
    scale.kib = std::ceil(scale.kib * 1.1 / step) * step;
    return scale;
}

void write_text(std::ostream& output, double x, double y, const char* anchor,
                const std::string& text)
{
    output << "<text x=\"" << x << "\" y=\"" << y << "\" text-anchor=\"" << anchor << "\">" << text
           << "</text>\n";
}

void write_line(std::ostream& output, const plot_scale& scale,
                const std::vector<cost_sample>& samples, std::uint64_t process_cost::*count,
                const char* colour)
{
    output << "<polyline fill=\"none\" stroke=\"" << colour << "\" stroke-width=\"1.5\" points=\"";
    for (const cost_sample& sample : samples)
        output << x_of(scale, sample.seconds) << ","
               << y_of(scale, static_cast<double>(sample.cost.*count)) << " ";
    output << "\"/>\n";
}

void write_grid(std::ostream& output, const plot_scale& scale)
{
    const bool long_run = scale.seconds >= 600;
    for (int i = 0; i <= GRID_LINES; ++i) {
        const double part = static_cast<double>(i) / GRID_LINES;
        const double y = y_of(scale, scale.kib * part);
        const double x = x_of(scale, scale.seconds * part);
        output << "<line stroke=\"#ddd\" x1=\"" << LEFT << "\" x2=\"" << RIGHT << "\" y1=\"" << y
               << "\" y2=\"" << y << "\"/>\n";
        write_text(output, LEFT - 8, y + 4, "end", std::to_string(std::lround(scale.kib * part)));
        write_text(output, x, BOTTOM + 24, "middle",
                   std::to_string(std::lround(scale.seconds * part / (long_run ? 60 : 1))));
    }
    write_text(output, RIGHT, BOTTOM + 44, "end", long_run ? "minutes" : "seconds");
}
} // namespace

void write_plot(std::ostream& output, const std::vector<cost_sample>& samples,
                const std::vector<double>& reconnections)
{
    const plot_scale scale = scale_for(samples);
    output << std::fixed << std::setprecision(1)
           << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 920 400\" "
              "font-family=\"sans-serif\" font-size=\"12\" fill=\"#333\">\n"
              "<rect width=\"920\" height=\"400\" fill=\"white\"/>\n";
    write_text(output, LEFT, 26, "start",
               "Memory of the backend in KiB: <tspan fill=\"#1f5fa8\">PSS</tspan>, "
               "<tspan fill=\"#c2571a\">heap</tspan>; grey ticks are reconnections");
    write_grid(output, scale);
    for (const double seconds : reconnections)
        output << "<line stroke=\"#999\" x1=\"" << x_of(scale, seconds) << "\" x2=\""
               << x_of(scale, seconds) << "\" y1=\"" << BOTTOM << "\" y2=\"" << BOTTOM + 6
               << "\"/>\n";
    write_line(output, scale, samples, &process_cost::pss_kib, "#1f5fa8");
    write_line(output, scale, samples, &process_cost::heap_kib, "#c2571a");
    output << "</svg>\n";
}

} // namespace soak
