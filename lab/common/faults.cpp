#include "common/faults.h"

#include <functional>
#include <iostream>
#include <map>
#include <utility>

#include "common/text.h"

namespace lab {

// The whole text as one literal: it is printed as it stands here.
const char* const fault_help =
    R"(Faults: one per line in the faults file, which is read again at every request; the first line that fits is taken.
An empty or missing file means none, '#' starts a comment line. Words (several may stand on a line):
  refuse            close every connection at once, unread
  delay=MS          answer MS milliseconds late (other clients are served meanwhile)
  cut=N             send only the first N bytes of the answer, then close
  stall=N           send the first N bytes, then keep silent until the client leaves
  closeearly        read the request, then close without an answer
  garbage           64 junk bytes instead of an answer
  raw=TEXT          exactly TEXT instead of an answer (\n \t \\ \0 \xHH are understood)
  wronglength=+N    (dbmanager) announce N bytes more than there are; -N: fewer
  sqlerror[=TEXT]   (dbmanager) fail as if SQLite had said TEXT
  status=N          (fsmcore) answer with status N
  match=TEXT        only for requests that contain TEXT
  times=N           only the first N times; counted from the last change of the file
TEXT with blanks goes in double quotes: match="UPDATE KOVAD_NEIGHBOUR". A request that meets closeearly, garbage, raw,
sqlerror or status is not carried out; with delay, cut, stall and wronglength it is.)";

namespace {

// Takes the text after the word's "=", and the number that it is, if so; false when it is no value for that word.
using Number = std::optional<long>;
using Setter = std::function<bool(Fault&, const std::string&, Number)>;
using Text = const std::string&;

const std::map<std::string, Setter, std::less<>>& setters() {
    static const std::map<std::string, Setter, std::less<>> table{
        {"refuse", [](Fault& f, Text, Number) { return f.refuse = true; }},
        {"closeearly", [](Fault& f, Text, Number) { return f.close_early = true; }},
        {"garbage", [](Fault& f, Text, Number) { return f.garbage = true; }},
        {"delay", [](Fault& f, Text, Number n) { return f.delay = std::chrono::milliseconds(n.value_or(0)), n >= 0; }},
        {"cut", [](Fault& f, Text, Number n) { return f.cut = n.value_or(0), n >= 0; }},
        {"stall", [](Fault& f, Text, Number n) { return f.stall = n.value_or(0), n >= 0; }},
        {"raw", [](Fault& f, Text v, Number) { return f.raw = unescaped(v), true; }},
        {"wronglength", [](Fault& f, Text, Number n) { return f.wrong_length = n.value_or(0), n.has_value(); }},
        {"sqlerror", [](Fault& f, Text v, Number) { return f.sql_error = v.empty() ? "injected error" : v, true; }},
        {"status", [](Fault& f, Text, Number n) { return f.status = n, n.has_value(); }},
        {"match", [](Fault& f, Text v, Number) { return f.match = v, !v.empty(); }},
        {"times", [](Fault& f, Text, Number n) { return f.times = n, n.has_value(); }},
    };
    return table;
}

}  // namespace

std::optional<Fault> parse_fault(std::string_view line, std::string& problem) {
    Fault fault;
    for (const std::string& word : split_words(line)) {
        const size_t equals = word.find('=');
        const auto setter = setters().find(word.substr(0, equals));
        if (setter == setters().end()) {
            problem = "unknown word '" + word + "'";
            return std::nullopt;
        }
        const std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
        if (!setter->second(fault, value, to_number(value.starts_with('+') ? value.substr(1) : value))) {
            problem = "wrong value in '" + word + "'";
            return std::nullopt;
        }
    }
    return fault;
}

void FaultPlan::refresh() {
    if (path_.empty()) return;
    std::string text = file_text(path_);
    if (text == text_) return;
    text_ = std::move(text);
    faults_.clear();
    for (const std::string& line : split(text_, '\n')) {
        std::string problem;
        if (line.front() == '#' || split_words(line).empty()) continue;
        if (const auto fault = parse_fault(line, problem)) {
            faults_.push_back(*fault);
        } else {
            std::cout << "faults file: line ignored, " << problem << std::endl;
        }
    }
}

bool FaultPlan::used_up(Fault& fault) {
    return fault.times && (*fault.times)-- <= 0;
}

bool FaultPlan::refuses_connection() {
    refresh();
    for (Fault& fault : faults_) {
        if (fault.refuse && !used_up(fault)) return true;
    }
    return false;
}

Fault FaultPlan::for_request(std::string_view request) {
    refresh();
    for (Fault& fault : faults_) {
        if (!fault.refuse && request.find(fault.match) != std::string_view::npos && !used_up(fault)) return fault;
    }
    return {};
}

}  // namespace lab
