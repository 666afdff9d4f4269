// Turns the lines that the load driver printed (standard input) into one table, each scenario beside the floors that
// were measured with it, and draws the ratios as an SVG (first argument).
//
// A line is: scenario;transport,rate,median,p99,cpu,rss,bytes,statements. There is one for each round of a scenario;
// the table has the medians. The scenarios "floor of X" and "logging floor of X" are the floors of X: each round of X
// is compared with the same round of its floors.

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

// The columns of a line after its name.
enum Figure { rate, middle, p99, cpu, resident, bytes, statements, figures };
using Round = std::array<double, figures>;

struct Row {
    std::string scenario;
    std::string transport;
    std::vector<Round> rounds;
    double ofFloor = 0;    // share of the floor's rate; 0 when there is no floor
    double ofLogging = 0;  // of the rate of the floor that logs
};

const std::string floorPrefix = "floor of ";
const std::string loggingPrefix = "logging floor of ";

double median(std::vector<double> values) {
    const auto half = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), half, values.end());
    return values.empty() ? 0 : *half;
}

double median_of(const Row& row, Figure figure) {
    std::vector<double> values;
    for (const Round& round : row.rounds) values.push_back(round[figure]);
    return median(values);
}

Row& row_named(std::vector<Row>& rows, const std::string& scenario, const std::string& transport) {
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& row) {
        return row.scenario == scenario && row.transport == transport;
    });
    if (found != rows.end()) return *found;
    rows.push_back({scenario, transport, {}});
    return rows.back();
}

std::vector<Row> read_rows(std::istream& in) {
    std::vector<Row> rows;
    for (std::string line; std::getline(in, line);) {
        const std::size_t semicolon = line.find(';');
        const std::size_t comma = line.find(',');
        if (semicolon == std::string::npos || comma == std::string::npos) continue;
        Row& row = row_named(rows, line.substr(0, semicolon), line.substr(semicolon + 1, comma - semicolon - 1));
        std::istringstream numbers(line.substr(comma));
        Round round{};
        char separator = 0;
        for (double& figure : round) numbers >> separator >> figure;
        row.rounds.push_back(round);
    }
    return rows;
}

// The median over the rounds of a row's rate beside that of the row named; 0 when there is no such row.
double share(const Row& row, const std::vector<Row>& rows, const std::string& other) {
    std::vector<double> shares;
    for (const Row& floor : rows) {
        if (floor.scenario != other || floor.transport != row.transport) continue;
        for (std::size_t i = 0; i < std::min(row.rounds.size(), floor.rounds.size()); ++i)
            shares.push_back(row.rounds[i][rate] / floor.rounds[i][rate]);
    }
    return median(shares);
}

void add_ratios(std::vector<Row>& rows) {
    for (Row& row : rows) {
        const bool logging = row.scenario.starts_with(loggingPrefix);
        const std::string work = logging ? row.scenario.substr(loggingPrefix.size()) : row.scenario;
        row.ofFloor = share(row, rows, floorPrefix + work);
        row.ofLogging = share(row, rows, loggingPrefix + row.scenario);
    }
}

std::string ratio_text(double ratio) {
    if (ratio <= 0) return {};
    char text[16];
    std::snprintf(text, sizeof text, "%.2f", ratio);
    return text;
}

void print_table(const std::vector<Row>& rows) {
    std::printf(
        "| scenario | transport | answers/s | of the floor | of the floor that logs | median us | p99 us | CPU us "
        "| RSS MB | bytes | statements |\n");
    std::printf("|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    for (const Row& row : rows) {
        std::printf("| %s | %s | %.0f | %s | %s | %.0f | %.0f | %.0f | %.1f | %.0f | %.0f |\n", row.scenario.c_str(),
                    row.transport.c_str(), median_of(row, rate), ratio_text(row.ofFloor).c_str(),
                    ratio_text(row.ofLogging).c_str(), median_of(row, middle), median_of(row, p99), median_of(row, cpu),
                    median_of(row, resident) / 1024, median_of(row, bytes), median_of(row, statements));
    }
}

void draw(const std::vector<Row>& rows, const std::string& path) {
    constexpr int rowHeight = 22;
    constexpr int left = 260;
    constexpr int width = 420;  // of a ratio of 1
    std::vector<Row> shown;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(shown),
                 [](const Row& row) { return row.ofFloor > 0 && !row.scenario.starts_with(loggingPrefix); });
    const int height = static_cast<int>(shown.size()) * rowHeight + 50;
    std::ofstream svg(path);
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << left + width + 110 << "\" height=\"" << height
        << "\" font-family=\"sans-serif\" font-size=\"12\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<text x=\"10\" y=\"20\" font-size=\"14\">Answers per second, as a share of the floor's</text>\n";
    int y = 36;
    for (const Row& row : shown) {
        const double length = row.ofFloor * width;
        svg << "<text x=\"" << left - 8 << "\" y=\"" << y + 13 << "\" text-anchor=\"end\">" << row.scenario << ", "
            << row.transport << "</text>\n<rect x=\"" << left << "\" y=\"" << y << "\" width=\"" << length
            << "\" height=\"16\" fill=\"#4a7fb5\"/>\n<text x=\"" << left + length + 6 << "\" y=\"" << y + 13 << "\">"
            << static_cast<int>(row.ofFloor * 100 + 0.5) << " %</text>\n";
        y += rowHeight;
    }
    svg << "<line x1=\"" << left + width << "\" y1=\"30\" x2=\"" << left + width << "\" y2=\"" << height - 8
        << "\" stroke=\"#999\" stroke-dasharray=\"4 3\"/>\n</svg>\n";
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<Row> rows = read_rows(std::cin);
    add_ratios(rows);
    print_table(rows);
    if (argc > 1) draw(rows, argv[1]);
    return 0;
}
