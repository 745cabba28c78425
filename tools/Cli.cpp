#include "tools/Cli.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

bool ParsedArgs::has(const std::string& name) const
{
    return numbers.count(name) || texts.count(name) ||
           std::find(flags.begin(), flags.end(), name) != flags.end();
}

std::vector<double> ParsedArgs::numbersOr(const std::string& name,
                                          std::vector<double> fallback) const
{
    auto it = numbers.find(name);
    return it == numbers.end() ? fallback : it->second;
}

std::string ParsedArgs::textOr(const std::string& name, const std::string& fallback) const
{
    auto it = texts.find(name);
    return it == texts.end() ? fallback : it->second;
}

static bool isOption(const std::string& word)
{
    return word.size() > 2 && word[0] == '-' && word[1] == '-';
}

static bool tryNumber(const std::string& word, double* value)
{
    if (word.empty() || isOption(word))
        return false;
    char* end = nullptr;
    double v = std::strtod(word.c_str(), &end);
    if (*end != '\0' || !std::isfinite(v))
        return false;
    *value = v;
    return true;
}

// Why `word` is refused: nan, inf and overflowing numbers never reach the library.
static std::string notANumber(const std::string& word)
{
    char* end = nullptr;
    std::strtod(word.c_str(), &end);
    bool parsed = !word.empty() && *end == '\0';
    return "'" + word + (parsed ? "' is not a finite number" : "' is not a number");
}

double parseNumber(const std::string& word)
{
    double value = 0.0;
    if (!tryNumber(word, &value))
        throw UsageError(notANumber(word));
    return value;
}

ParsedArgs parseArgs(const std::string& command, const std::vector<std::string>& args,
                     const std::vector<OptionDef>& options, int positional,
                     const char* positionalMeta)
{
    ParsedArgs parsed;
    auto fail = [&](const std::string& message) {
        throw UsageError(command + ": " + message + " (see 'tolvex-kine " + command + " --help')");
    };
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& word = args[i];
        auto option = std::find_if(options.begin(), options.end(),
                                 [&](const OptionDef& o) { return word == o.name; });
        if (!isOption(word) && option == options.end()) {
            double value = 0.0;
            if (positional == kNoValues || !tryNumber(word, &value))
                fail(positional == kNoValues ? "unexpected argument '" + word + "'" : notANumber(word));
            parsed.values.push_back(value);
            continue;
        }
        if (option == options.end())
            fail("unknown option " + word);
        if (parsed.has(word))
            fail("option " + word + " given twice");
        switch (option->kind) {
        case OptionKind::Flag:
            parsed.flags.push_back(word);
            break;
        case OptionKind::Text:
            if (i + 1 >= args.size() || isOption(args[i + 1]))
                fail("option " + word + " needs a value (" + option->meta + ")");
            parsed.texts[word] = args[++i];
            break;
        case OptionKind::Numbers: {
            std::vector<double>& values = parsed.numbers[word];
            for (int k = 0; k < option->count; ++k) {
                double value = 0.0;
                if (i + 1 >= args.size() || isOption(args[i + 1]))
                    fail("option " + word + " needs " + std::to_string(option->count) +
                         " numbers (" + option->meta + "), got " + std::to_string(k));
                if (!tryNumber(args[i + 1], &value))
                    fail("option " + word + ": " + notANumber(args[i + 1]));
                values.push_back(value);
                ++i;
            }
            break;
        }
        case OptionKind::List: {
            std::vector<double>& values = parsed.numbers[word];
            double value = 0.0;
            while (i + 1 < args.size() && !isOption(args[i + 1])) {
                if (!tryNumber(args[i + 1], &value))
                    fail("option " + word + ": " + notANumber(args[i + 1]));
                values.push_back(value);
                ++i;
            }
            if (values.empty())
                fail("option " + word + " needs at least one number (" + option->meta + ")");
            break;
        }
        }
    }
    for (const OptionDef& option : options)
        if (option.required && !parsed.has(option.name))
            fail(std::string("option ") + option.name + " is required");
    if (positional >= 0)
        requireValues(command, parsed, positional, positionalMeta);
    return parsed;
}

void requireValues(const std::string& command, const ParsedArgs& args, int count, const std::string& meta)
{
    if (static_cast<int>(args.values.size()) != count)
        throw UsageError(command + ": expected " + std::to_string(count) + " values (" + meta + "), got " +
                         std::to_string(args.values.size()) + " (see 'tolvex-kine " + command + " --help')");
}

void copyValues(const std::vector<double>& values, double* out, int count)
{
    for (int i = 0; i < count; ++i)
        out[i] = values.at(i);
}

Format formatOf(const ParsedArgs& args)
{
    if (args.has("--csv") && args.has("--json"))
        throw UsageError("--csv and --json exclude each other");
    if (args.has("--csv"))
        return Format::Csv;
    return args.has("--json") ? Format::Json : Format::Text;
}

Cell num(double value, int decimals)
{
    return Cell{formatNumber(value, decimals), value, true};
}

Cell word(const std::string& text)
{
    return Cell{text, 0.0, false};
}

Cell missing()
{
    return Cell{"-", NAN, true};
}

void Report::heading(const std::string& text)
{
    items_.push_back(Item{Item::Heading, text, Table{}});
}

void Report::note(const std::string& text)
{
    items_.push_back(Item{Item::Note, text, Table{}});
}

void Report::add(Table table)
{
    items_.push_back(Item{Item::Tab, "", std::move(table)});
}

static std::string machineNumber(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.15g", value);
    return text;
}

static std::string csvField(const std::string& text)
{
    if (text.find_first_of(",\"\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

static std::string jsonString(const std::string& text)
{
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\')
            out += '\\';
        out += c;
    }
    return out + "\"";
}

static void printText(const Table& table, FILE* out)
{
    std::vector<size_t> width(table.columns.size());
    for (size_t c = 0; c < table.columns.size(); ++c)
        width[c] = table.columns[c].size();
    for (const auto& row : table.rows)
        for (size_t c = 0; c < row.size() && c < width.size(); ++c)
            width[c] = std::max(width[c], row[c].text.size());
    auto line = [&](const std::vector<Cell>& cells) {
        std::string text = " ";
        for (size_t c = 0; c < cells.size() && c < width.size(); ++c) {
            const std::string& t = cells[c].text;
            std::string pad(width[c] - t.size(), ' ');
            text += "  " + (cells[c].numeric ? pad + t : t + pad);
        }
        while (!text.empty() && text.back() == ' ')
            text.pop_back();
        std::fprintf(out, "%s\n", text.c_str());
    };
    if (!table.title.empty())
        std::fprintf(out, "%s\n", table.title.c_str());
    std::vector<Cell> header;
    size_t ruleWidth = 0;
    for (size_t c = 0; c < table.columns.size(); ++c) {
        // Headers align like the column's first cell.
        bool numeric = !table.rows.empty() && c < table.rows[0].size() && table.rows[0][c].numeric;
        header.push_back(Cell{table.columns[c], 0.0, numeric});
        ruleWidth += width[c] + 2;
    }
    line(header);
    std::fprintf(out, "   %s\n", std::string(ruleWidth - 2, '-').c_str());
    for (const auto& row : table.rows)
        line(row);
}

static void printCsv(const Table& table, FILE* out)
{
    if (!table.title.empty())
        std::fprintf(out, "# %s\n", table.title.c_str());
    for (size_t c = 0; c < table.columns.size(); ++c)
        std::fprintf(out, "%s%s", c ? "," : "", csvField(table.columns[c]).c_str());
    std::fprintf(out, "\n");
    for (const auto& row : table.rows) {
        for (size_t c = 0; c < row.size(); ++c)
            std::fprintf(out, "%s%s", c ? "," : "",
                         row[c].numeric ? machineNumber(row[c].value).c_str()
                                        : csvField(row[c].text).c_str());
        std::fprintf(out, "\n");
    }
}

static void printJsonTable(const Table& table, FILE* out)
{
    std::fprintf(out, "    {\"title\": %s,\n     \"columns\": [", jsonString(table.title).c_str());
    for (size_t c = 0; c < table.columns.size(); ++c)
        std::fprintf(out, "%s%s", c ? ", " : "", jsonString(table.columns[c]).c_str());
    std::fprintf(out, "],\n     \"rows\": [");
    for (size_t r = 0; r < table.rows.size(); ++r) {
        std::fprintf(out, "%s\n       [", r ? "," : "");
        for (size_t c = 0; c < table.rows[r].size(); ++c) {
            const Cell& cell = table.rows[r][c];
            std::string text = !cell.numeric              ? jsonString(cell.text)
                               : std::isfinite(cell.value) ? machineNumber(cell.value)
                                                           : std::string("null");
            std::fprintf(out, "%s%s", c ? ", " : "", text.c_str());
        }
        std::fprintf(out, "]");
    }
    std::fprintf(out, "]}");
}

void Report::print(FILE* out)
{
    if (format_ == Format::Json) {
        std::vector<std::string> notes;
        std::vector<const Table*> tables;
        for (const Item& item : items_) {
            if (item.kind == Item::Note)
                notes.push_back(item.text);
            if (item.kind == Item::Tab)
                tables.push_back(&item.table);
        }
        std::fprintf(out, "{\n  \"notes\": [");
        for (size_t i = 0; i < notes.size(); ++i)
            std::fprintf(out, "%s\n    %s", i ? "," : "", jsonString(notes[i]).c_str());
        std::fprintf(out, "],\n  \"tables\": [\n");
        for (size_t i = 0; i < tables.size(); ++i) {
            if (i)
                std::fprintf(out, ",\n");
            printJsonTable(*tables[i], out);
        }
        std::fprintf(out, "\n  ]\n}\n");
    } else {
        bool first = true;
        for (const Item& item : items_) {
            bool csv = format_ == Format::Csv;
            switch (item.kind) {
            case Item::Heading:
                std::fprintf(out, csv ? "%s# == %s ==\n" : "%s== %s ==\n", first ? "" : "\n",
                             item.text.c_str());
                break;
            case Item::Note:
                std::fprintf(out, csv ? "# %s\n" : "%s\n", item.text.c_str());
                break;
            case Item::Tab:
                if (!first)
                    std::fprintf(out, "\n");
                (csv ? printCsv : printText)(item.table, out);
                break;
            }
            first = false;
        }
    }
    std::fflush(out);
    items_.clear();
}
