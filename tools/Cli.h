// Command-line plumbing of tolvex-kine: option parsing against a per-command
// option list, the two error kinds (usage: exit 2, failed computation: exit 1)
// and reports of notes and tables printed as aligned text, CSV or JSON.
#ifndef TOLVEX_TOOLS_CLI_H
#define TOLVEX_TOOLS_CLI_H

#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/PrintedValues.h"

// A wrong command line; main prints it on one line and exits with 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A computation or a model file that failed; main prints it and exits with 1.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class OptionKind {
    Flag,     // no value
    Text,     // one word (a file name)
    Numbers,  // exactly `count` numbers
    List,     // one or more numbers, as many as follow
};

struct OptionDef {
    const char* name;      // with the leading "--"
    OptionKind kind;
    int count;             // numbers of a Numbers option
    const char* meta;      // value placeholder in the help, e.g. "FILE", "q1 ... q7"
    const char* help;      // one line
    bool required = false; // the command fails without it
};

struct ParsedArgs {
    std::vector<double> values;                         // positional numbers
    std::map<std::string, std::vector<double>> numbers; // Numbers and List options
    std::map<std::string, std::string> texts;           // Text options
    std::vector<std::string> flags;                     // Flag options given

    bool has(const std::string& name) const;
    // The numbers of an option, or `fallback` when it was not given.
    std::vector<double> numbersOr(const std::string& name, std::vector<double> fallback) const;
    std::string textOr(const std::string& name, const std::string& fallback) const;
};

// Positional counts besides an exact one: none allowed, or as many as the command checks.
constexpr int kNoValues = -1;
constexpr int kCheckedByCommand = -2;

// Parses argv against `options`; numbers that are not option values are
// positional and must number exactly `positional` (or see above). Throws
// UsageError naming the command on unknown options, missing or non-numeric
// values and a wrong count.
ParsedArgs parseArgs(const std::string& command, const std::vector<std::string>& args,
                     const std::vector<OptionDef>& options, int positional,
                     const char* positionalMeta);
// Throws the UsageError of parseArgs unless there are `count` positional values.
void requireValues(const std::string& command, const ParsedArgs& args, int count, const std::string& meta);

// Copies the first `count` of `values` to `out`.
void copyValues(const std::vector<double>& values, double* out, int count);

// A number given on the command line; throws UsageError unless the whole word is a finite number.
double parseNumber(const std::string& word);

enum class Format { Text, Csv, Json };

// One table cell: a number (formatted per output format) or a word.
struct Cell {
    std::string text;   // the word, or the number formatted for text output
    double value;       // the number (when `numeric`)
    bool numeric;
};

Cell num(double value, int decimals = 3);
Cell word(const std::string& text);
// A number that is not there: "-" in text, nan in CSV, null in JSON.
Cell missing();

struct Table {
    std::string title;
    std::vector<std::string> columns;   // headers, units in brackets
    std::vector<std::vector<Cell>> rows;

    void addRow(std::vector<Cell> row) { rows.push_back(std::move(row)); }
};

// Collects notes and tables and prints them in order: text (aligned columns,
// numbers right-aligned), CSV (one block per table, notes as "# " lines) or a
// JSON object {"notes": [...], "tables": [...]}.
class Report {
public:
    explicit Report(Format format) : format_(format) {}
    Format format() const { return format_; }
    void heading(const std::string& text);   // a section title (text and CSV only)
    void note(const std::string& text);
    void add(Table table);
    void print(FILE* out);                   // prints and empties the report

private:
    struct Item {
        enum { Heading, Note, Tab } kind;
        std::string text;
        Table table;
    };
    Format format_;
    std::vector<Item> items_;
};

// Output format chosen by --csv / --json (text otherwise).
Format formatOf(const ParsedArgs& args);

#endif
