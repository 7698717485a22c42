// tools/VERB/DOC: kelxml beside other command-line programs, whole processes: milliseconds by the clock;
// tools/VERB/DOC/cpu: of the processors; tools/VERB/DOC/memory: the peak of resident memory, in MB.
// All three come from the same runs, which alternate; the figures are medians. Before, each program runs once
// and must find the same as the others.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/documents.h"
#include "bench/machine.h"
#include "bench/rows.h"
#include "bench/tally.h"
#include "bench/trees.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMinRuns = 5;
constexpr std::size_t kMaxRuns = 25;
constexpr double kBudgetInSeconds = 4.0;  // for all runs of a contest, as far as the minimum allows
constexpr std::size_t kMinLongRuns = 3;
constexpr double kLongInSeconds = 10.0;  // a round of all programs
constexpr std::uint64_t kLongDocumentInBytes = 300'000'000;
constexpr int kArticles = 200;

// A program with its options; the files come after them.
struct Tool {
    std::string name;
    std::vector<std::string> command;
};

struct Cost {
    double seconds = 0;
    double cpuSeconds = 0;
    double peakInBytes = 0;
    int status = 0;
};

Cost run(const Tool& tool, const std::vector<std::string>& files, const std::string& output) {
    std::vector<std::string> arguments{output};
    arguments.insert(arguments.end(), tool.command.begin(), tool.command.end());
    arguments.insert(arguments.end(), files.begin(), files.end());
    std::istringstream report(runProgram(KEL_BENCH_COST, arguments));
    Cost cost;
    report >> cost.seconds >> cost.cpuSeconds >> cost.peakInBytes >> cost.status;
    if (!report) throw std::runtime_error("no figures for " + tool.name);
    return cost;
}

// What a program's output says, in a form that does not depend on how the program writes it.
using Digester = std::function<std::uint64_t(const std::string& output)>;

struct Input {
    std::vector<std::string> files;
    std::string rejected;  // what every program has to reject; empty: none is tried
};

struct Contest {
    std::vector<Tool> tools;       // ours first
    std::function<Input()> input;  // prepared when it is first needed
    Digester digester;             // none: the exit status says it all
};

void demandStatus(const Tool& tool, const Cost& cost, bool isAccepted) {
    if ((cost.status == 0) == isAccepted) return;
    throw std::runtime_error(tool.name + " ends with " + std::to_string(cost.status));
}

// Returns how long a round takes.
double demandEqualResults(const Contest& contest, const Input& input, const std::string& output) {
    double seconds = 0;
    std::uint64_t expected = 0;
    for (const Tool& tool : contest.tools) {
        if (!input.rejected.empty()) demandStatus(tool, run(tool, {input.rejected}, output), false);
        const Cost cost = run(tool, input.files, output);
        demandStatus(tool, cost, true);
        seconds += cost.seconds;
        if (!contest.digester) continue;
        const std::uint64_t found = contest.digester(output);
        if (&tool == contest.tools.data()) expected = found;
        if (found != expected) throw std::runtime_error(tool.name + " finds something else");
    }
    return seconds;
}

using Figures = std::vector<std::vector<Cost>>;  // by tool, one a run

Figures measure(const Contest& contest, const std::string& output) {
    const Input input = contest.input();
    const double roundInSeconds = demandEqualResults(contest, input, output);
    const std::size_t min = roundInSeconds > kLongInSeconds ? kMinLongRuns : kMinRuns;
    const auto affordable = static_cast<std::size_t>(kBudgetInSeconds / roundInSeconds);
    const std::size_t rounds = std::clamp(affordable, min, kMaxRuns);
    Figures figures(contest.tools.size());
    for (std::size_t round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < contest.tools.size(); ++i) {
            const std::size_t turn = (round + i) % contest.tools.size();
            figures[turn].push_back(run(contest.tools[turn], input.files, output));
        }
    }
    fs::remove(output);
    return figures;
}

double median(std::vector<Cost> costs, double Cost::*figure) {
    const auto middle = costs.begin() + static_cast<std::ptrdiff_t>(costs.size() / 2);
    std::ranges::nth_element(costs, middle, {}, figure);
    return (*middle).*figure;
}

// The three rows of a contest, which is held for the first of them that runs.
void addContest(Suite& suite, const Documents& documents, const std::string& name, const Contest& contest) {
    struct Figure {
        const char* suffix;
        double Cost::*member;
        double scale;
        const char* unit;
    };
    static constexpr std::array kFigures{Figure{"", &Cost::seconds, 1e3, "ms"},
                                         Figure{"/cpu", &Cost::cpuSeconds, 1e3, "ms cpu"},
                                         Figure{"/memory", &Cost::peakInBytes, 1e-6, "MB"}};
    const auto found = std::make_shared<Figures>();
    for (const Figure& figure : kFigures) {
        suite.add(
            "tools/" + name + figure.suffix,
            [&documents, contest, found, figure](Row& row) {
                if (found->empty()) *found = measure(contest, documents.scratchPath("scratch.out"));
                std::vector<Value> values;
                for (std::size_t i = 0; i < contest.tools.size(); ++i) {
                    values.push_back({i == 0 ? std::string(kOurs) : contest.tools[i].name,
                                      median((*found)[i], figure.member) * figure.scale});
                }
                row.values(figure.unit, Better::Lower, values);
            },
            When::Asked);
    }
}

// --- Results
// ------------------------------------------------------------------------------------------------

std::uint64_t mixed(std::uint64_t hash, char byte) {
    return (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
}

// Every name, attribute and text, layout left out.
std::uint64_t contentOf(const std::string& output) {
    DigestSink sink;
    pugixmlTrees().load(output)->walk(sink);
    return sink.result();
}

std::uint64_t textOf(const std::string& output) {
    std::ifstream file(output, std::ios::binary);
    std::uint64_t hash = 0;
    for (char byte = 0; file.get(byte);) {
        if (static_cast<unsigned char>(byte) > ' ') hash = mixed(hash, byte);
    }
    return hash;
}

// A value a line; one that stands as `name="value"` counts by the value.
std::uint64_t valuesOf(const std::string& output) {
    std::ifstream file(output, std::ios::binary);
    std::uint64_t hash = 0;
    for (std::string line; std::getline(file, line);) {
        std::string_view value = line;
        const std::size_t quote = value.find("=\"");
        if (quote != std::string_view::npos && value.ends_with('"'))
            value = value.substr(quote + 2, value.size() - quote - 3);
        if (value.empty()) continue;
        for (const char byte : value) hash = mixed(hash, byte);
        hash = mixed(hash, '\n');
    }
    return hash;
}

// --- Inputs
// -------------------------------------------------------------------------------------------------

std::string writeTo(const std::string& path, std::string_view content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
    return path;
}

std::string writeArticle(const std::string& path, int number, int sections) {
    std::ostringstream text;
    text << "<article xmlns=\"http://docbook.org/ns/docbook\" version=\"5.0\"><title>Shelf " << number
         << "</title>\n";
    for (int i = 0; i < sections; ++i) {
        text << "<section xml:id=\"s" << i << "\"><title>Section " << i << "</title>\n<para>Some <emphasis "
             << "role=\"bold\">text</emphasis> with a <link linkend=\"s" << i / 2
             << "\">link</link>.</para></section>\n";
    }
    text << "</article>\n";
    return writeTo(path, text.str());
}

std::string styled(const std::string& name) {
    return std::string(KEL_BENCH_STYLES "/") + name;
}

// The documents of all verbs: the real ones and the long one.
const std::vector<std::string>& inputNames() {
    static const std::vector<std::string> names{"docbook.xsd", "vk.xml", "gl.xml", "Gio-2.0.gir",
                                                "catalogue-300MB"};
    return names;
}

std::string pathOf(const Documents& documents, const std::string& name) {
    return name == "catalogue-300MB" ? documents.catalogue(kLongDocumentInBytes).path
                                     : documents.find(name).path;
}

std::function<Input()> plain(const Documents& documents, const std::string& name) {
    return [&documents, name] { return Input{{pathOf(documents, name)}, {}}; };
}

// --- Verbs
// --------------------------------------------------------------------------------------------------

const std::string kKelxml = KEL_BENCH_KELXML;

void addChecks(Suite& suite, const Documents& documents, const std::string& name) {
    const auto input = [&documents, name] {
        return Input{{pathOf(documents, name)},
                     writeTo(documents.scratchPath("rejected.xml"), "<shelf><book></shelf>")};
    };
    addContest(suite, documents, "check/" + name,
               {{{"kelxml", {kKelxml, "check"}},
                 {"xmllint", {"xmllint", "--huge", "--noout"}},
                 {"xmllint --stream", {"xmllint", "--huge", "--noout", "--stream"}},
                 {"xmlstarlet", {"xmlstarlet", "val", "-q", "-w"}}},
                input,
                nullptr});
}

void addFormats(Suite& suite, const Documents& documents, const std::string& name) {
    addContest(suite, documents, "format/" + name,
               {{{"kelxml", {kKelxml, "format"}},
                 {"xmllint", {"xmllint", "--huge", "--format"}},
                 {"xmlstarlet", {"xmlstarlet", "fo"}}},
                plain(documents, name),
                contentOf});
}

void addSelections(Suite& suite, const Documents& documents, const std::string& name) {
    // xmllint selects no more than ten million nodes on the way, and shows six digits of a number.
    const bool isLong = name.starts_with("catalogue");
    const std::string attribute = isLong ? "/*/*/*/@id" : "//@name";
    addContest(suite, documents, "select/" + name,
               {{{"kelxml", {kKelxml, "select", attribute}},
                 {"xmllint", {"xmllint", "--huge", "--xpath", attribute}},
                 {"xmlstarlet", {"xmlstarlet", "sel", "-T", "-t", "-m", attribute, "-v", ".", "-n"}}},
                plain(documents, name),
                valuesOf});
    const std::string counting = isLong ? "count(/*/*)" : "count(//*)";
    addContest(suite, documents, "count/" + name,
               {{{"kelxml", {kKelxml, "select", counting}},
                 {"xmllint", {"xmllint", "--huge", "--xpath", counting}},
                 {"xmlstarlet", {"xmlstarlet", "sel", "-T", "-t", "-v", counting, "-n"}}},
                plain(documents, name),
                valuesOf});
}

void addTransformation(Suite& suite, const Documents& documents, const std::string& name) {
    const std::string style = styled(name == "Gio-2.0.gir" ? "gir-report.xsl"
                                     : name == "vk.xml"    ? "vk-report.xsl"
                                                           : "identity.xsl");
    addContest(suite, documents, "transform/" + name,
               {{{"kelxml", {kKelxml, "transform", style}},
                 {"xsltproc", {"xsltproc", "--huge", style}},
                 {"xmlstarlet", {"xmlstarlet", "tr", style}}},
                plain(documents, name),
                textOf});
}

std::vector<Tool> validators(const std::string& schema) {
    return {{"kelxml", {kKelxml, "validate", schema}},
            {"xmllint", {"xmllint", "--huge", "--noout", "--schema", schema}},
            {"xmllint --stream", {"xmllint", "--huge", "--noout", "--stream", "--schema", schema}},
            {"xmlstarlet", {"xmlstarlet", "val", "-q", "-e", "--xsd", schema}}};
}

// A schema that lets a root element hold anything: what is measured is the way to the validator and back.
std::string looseSchema(const Documents& documents, const std::string& name) {
    struct Root {
        const char* document;
        const char* element;
        const char* uri;
    };
    static constexpr std::array kRoots{
        Root{"docbook.xsd", "schema", "http://www.w3.org/2001/XMLSchema"}, Root{"vk.xml", "registry", ""},
        Root{"gl.xml", "registry", ""},
        Root{"Gio-2.0.gir", "repository", "http://www.gtk.org/introspection/core/1.0"}};
    const Root& root = *std::ranges::find(kRoots, name, &Root::document);
    const std::string target = *root.uri == '\0' ? "" : std::string(" targetNamespace=\"") + root.uri + '"';
    return writeTo(documents.scratchPath(name + ".loose.xsd"),
                   "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"" + target +
                       "><xs:element name=\"" + root.element + "\"/></xs:schema>");
}

// That of the catalogue without its key, whose values have to be kept while a document is read.
std::string keylessSchema(const Documents& documents) {
    std::ifstream file(styled("catalogue.xsd"));
    std::string text{std::istreambuf_iterator<char>(file), {}};
    constexpr std::string_view kKeyEnd = "</xs:key>";
    const std::size_t key = text.find("<xs:key");
    text.erase(key, text.find(kKeyEnd) + kKeyEnd.size() - key);
    const std::string imported = "stock.xsd";
    text.replace(text.find(imported), imported.size(), styled(imported));
    return writeTo(documents.scratchPath("catalogue.keyless.xsd"), text);
}

void addValidations(Suite& suite, const Documents& documents) {
    const auto rejected = [&documents] {
        return writeTo(documents.scratchPath("rejected.xml"), "<shelf><book/></shelf>");
    };
    for (const std::string& name : inputNames()) {
        const bool isReal = name != "catalogue-300MB";
        const std::string schema =
            documents.scratchPath(isReal ? name + ".loose.xsd" : "catalogue.keyless.xsd");
        addContest(suite, documents, "validate/" + name,
                   {validators(schema),
                    [&documents, name, isReal, rejected] {
                        (void)(isReal ? looseSchema(documents, name) : keylessSchema(documents));
                        return Input{{pathOf(documents, name)}, rejected()};
                    },
                    nullptr});
    }
    const std::string docbook = documents.find("docbook.xsd").path;
    addContest(suite, documents, "validate/article",
               {validators(docbook),
                [&documents, rejected] {
                    return Input{{writeArticle(documents.scratchPath("article.xml"), 1, 3000)}, rejected()};
                },
                nullptr});
    std::vector<Tool> forMany = validators(docbook);
    // Compiles the schema again for each file: half a minute.
    std::erase_if(forMany, [](const Tool& tool) { return tool.name == "xmllint --stream"; });
    addContest(suite, documents, "validate/200-articles",
               {forMany,
                [&documents, rejected] {
                    Input input{{}, rejected()};
                    fs::create_directories(documents.scratchPath("articles"));
                    for (int i = 0; i < kArticles; ++i) {
                        input.files.push_back(writeArticle(
                            documents.scratchPath("articles/" + std::to_string(i) + ".xml"), i, 5));
                    }
                    return input;
                },
                nullptr});
}

}  // namespace

void addToolRows(Suite& suite, const Documents& documents) {
    for (const std::string& name : inputNames()) {
        addChecks(suite, documents, name);
        addFormats(suite, documents, name);
        addSelections(suite, documents, name);
        addTransformation(suite, documents, name);
    }
    addValidations(suite, documents);
}

}  // namespace bench
