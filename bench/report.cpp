// Turns the lines that the load driver printed (standard input) into one table, each row beside the floor of the same
// transport and number of statements where one was measured, and draws the ratios as an SVG (first argument).
//
// A line is: scenario;transport,rate,median,p99,cpu,rss,bytes,statements. A scenario "floor of X" is X's floor.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Row {
    std::string scenario;
    std::string transport;
    double rate = 0;
    double median = 0;
    double p99 = 0;
    double cpu = 0;
    double resident = 0;
    double bytes = 0;
    double statements = 0;
    double ratio = 0;  // of the floor's rate, 0 when there is no floor
};

const std::string floorPrefix = "floor of ";

std::vector<Row> read_rows(std::istream& in) {
    std::vector<Row> rows;
    for (std::string line; std::getline(in, line);) {
        const std::size_t semicolon = line.find(';');
        const std::size_t comma = line.find(',');
        if (semicolon == std::string::npos || comma == std::string::npos) continue;
        Row row;
        row.scenario = line.substr(0, semicolon);
        row.transport = line.substr(semicolon + 1, comma - semicolon - 1);
        std::istringstream numbers(line.substr(comma + 1));
        char separator = 0;
        numbers >> row.rate >> separator >> row.median >> separator >> row.p99 >> separator >> row.cpu >> separator >>
            row.resident >> separator >> row.bytes >> separator >> row.statements;
        rows.push_back(row);
    }
    return rows;
}

void add_ratios(std::vector<Row>& rows) {
    std::map<std::string, double> floors;
    for (const Row& row : rows)
        if (row.scenario.starts_with(floorPrefix))
            floors[row.scenario.substr(floorPrefix.size()) + ";" + row.transport] = row.rate;
    for (Row& row : rows) {
        const auto floor = floors.find(row.scenario + ";" + row.transport);
        if (floor != floors.end() && floor->second > 0) row.ratio = row.rate / floor->second;
    }
}

void print_table(const std::vector<Row>& rows) {
    std::printf(
        "| scenario | transport | answers/s | of the floor | median us | p99 us | CPU us | RSS MB | bytes | statements "
        "|\n");
    std::printf("|---|---|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    for (const Row& row : rows) {
        std::string ratio;
        if (row.ratio > 0) {
            char text[16];
            std::snprintf(text, sizeof text, "%.2f", row.ratio);
            ratio = text;
        }
        std::printf("| %s | %s | %.0f | %s | %.0f | %.0f | %.0f | %.1f | %.0f | %.0f |\n", row.scenario.c_str(),
                    row.transport.c_str(), row.rate, ratio.c_str(), row.median, row.p99, row.cpu, row.resident / 1024,
                    row.bytes, row.statements);
    }
}

void draw(const std::vector<Row>& rows, const std::string& path) {
    constexpr int rowHeight = 22;
    constexpr int left = 260;
    constexpr int width = 420;  // of a ratio of 1
    std::vector<Row> shown;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(shown), [](const Row& row) { return row.ratio > 0; });
    const int height = static_cast<int>(shown.size()) * rowHeight + 50;
    std::ofstream svg(path);
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << left + width + 110 << "\" height=\"" << height
        << "\" font-family=\"sans-serif\" font-size=\"12\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<text x=\"10\" y=\"20\" font-size=\"14\">Answers per second, as a share of the floor's</text>\n";
    int y = 36;
    for (const Row& row : shown) {
        const double length = row.ratio * width;
        svg << "<text x=\"" << left - 8 << "\" y=\"" << y + 13 << "\" text-anchor=\"end\">" << row.scenario << ", "
            << row.transport << "</text>\n<rect x=\"" << left << "\" y=\"" << y << "\" width=\"" << length
            << "\" height=\"16\" fill=\"#4a7fb5\"/>\n<text x=\"" << left + length + 6 << "\" y=\"" << y + 13 << "\">"
            << static_cast<int>(row.ratio * 100 + 0.5) << " %</text>\n";
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
