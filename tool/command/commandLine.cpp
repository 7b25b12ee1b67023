#include "tool/command/commandLine.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <map>
#include <memory>

#include "tool/command/nearestWord.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::size_t kHelpColumn = 24;
constexpr int kLongestTimeout = 3600;
constexpr int kLargestProcess = 1 << 22;

const std::map<std::string, Depth> kDepths{{"files", Depth::kFiles},
                                           {"load", Depth::kLoad},
                                           {"open", Depth::kOpen},
                                           {"call", Depth::kCall}};

std::string isDepth(const std::string& word) {
    if (kDepths.contains(word)) {
        return {};
    }
    std::vector<std::string> names;
    for (const auto& [name, depth] : kDepths) {
        names.push_back(name);
    }
    const std::optional<std::string> nearest = nearestWord(word, names);
    return "\"" + word + "\" is not files, load, open or call" +
           (nearest ? "; did you mean \"" + *nearest + "\"?" : "");
}

// Leaves out of the help what an option is checked against and what it excludes: that is said when
// it matters, in the complaint.
class PlainFormatter : public CLI::Formatter {
  public:
    std::string make_option_opts(const CLI::Option* option) const override {
        const std::string type = option->get_type_name();
        return type.empty() ? type : " " + type.substr(0, type.find(':'));
    }
};

CLI::Validator between(int first, int last) {
    return CLI::Range(first, last).description("");
}

CLI::App* addCommand(CLI::App& parser, const std::string& name, const std::string& description,
                     const std::string& example) {
    CLI::App* const command = parser.add_subcommand(name, description);
    command->footer("Example:\n  " + example);
    return command;
}

void addDoctor(CLI::App& parser, DoctorOptions& options) {
    CLI::App* const command =
        addCommand(parser, "doctor", "Predicts what a job meets that this user sets up here.",
                   "sudo -u etl walletcaller doctor --dir /tmp/job1/");
    command
        ->add_option_function<std::string>(
            "--depth", [&options](const std::string& word) { options.depth = kDepths.at(word); },
            "how far to go: files, load (default), open, call")
        ->check(isDepth)
        ->type_name("DEPTH");
    CLI::Option* const directory =
        command->add_option("--dir", options.directory, "the job's private directory, ending in /")
            ->type_name("DIR/");
    command
        ->add_option("--tmp", options.temporaryDirectory,
                     "where jobs make private directories (/tmp)")
        ->type_name("DIR")
        ->excludes(directory);
    command->add_option("--library", options.library, "the library's file, if not the one beside")
        ->type_name("FILE");
    command->add_option("--pid", options.process, "tell limits and rights of that process")
        ->type_name("PID")
        ->check(between(1, kLargestProcess));
    command->add_option("--timeout", options.timeoutSeconds, "for the wallet's own code (10)")
        ->type_name("SECONDS")
        ->check(between(1, kLongestTimeout));
    command->add_flag("--json", options.json, "one JSON object");
    command->add_flag("--strict", options.strict, "a warning counts as a failure");
    command->add_flag("--brief", options.brief, "the verdict only");
}

void addExplain(CLI::App& parser, ExplainOptions& options) {
    CLI::App* const command =
        addCommand(parser, "explain", "Tells what the references in a text mean.",
                   "walletcaller explain --url jdbc:orvanta://db/ --file password.txt");
    command->add_option("--url", options.url, "the JDBC URL of the text's side")->type_name("URL");
    CLI::Option* const text =
        command->add_option("--text", options.text, "the text; other users can see it here")
            ->type_name("TEXT");
    CLI::Option* const file =
        command->add_option("--file", options.file, "reads the text from a file")
            ->type_name("FILE")
            ->excludes(text);
    CLI::Option* const input =
        command->add_option("input", options.input, "\"-\": reads the text from standard input")
            ->type_name("")
            ->excludes(text)
            ->excludes(file);
    command->add_flag("--fetch", options.fetch, "asks the wallet for each entry");
    command->add_flag("--batch", options.batch, "one JSON object a line, read from standard input")
        ->excludes(text)
        ->excludes(file)
        ->excludes(input);
    command->add_flag("--json", options.json, "one JSON object");
    command->add_flag("--strict", options.strict, "a warning counts as a failure");
}

void addWhy(CLI::App& parser, WhyOptions& options) {
    CLI::App* const command =
        addCommand(parser, "why", "Tells the cause of a message, and what to do about it.",
                   "yarn logs -applicationId application_1_1 | walletcaller why");
    command
        ->add_option("message", options.text, "the message; without it a log from standard input")
        ->type_name("");
}

void addVersion(CLI::App& parser, VersionOptions& options) {
    CLI::App* const command =
        addCommand(parser, "version", "Tells version and build id of the library.",
                   "walletcaller version --pid 4711");
    CLI::Option* const file =
        command->add_option("file", options.file, "the library's file, if not the one beside")
            ->type_name("");
    command->add_option("--pid", options.process, "every copy that this process has loaded")
        ->type_name("PID")
        ->check(between(1, kLargestProcess))
        ->excludes(file);
}

}  // namespace

std::unique_ptr<CLI::App> makeParser(ParsedOptions& options) {
    auto parser = std::make_unique<CLI::App>(
        "Tells what a job meets that uses wallet references, before it is submitted.",
        "walletcaller");
    // Words that nobody expects are collected, to be named with the nearest right one.
    parser->allow_extras();
    const auto formatter = std::make_shared<PlainFormatter>();
    formatter->column_width(kHelpColumn);
    parser->formatter(formatter);
    parser->set_help_flag("-h,--help", "this text");
    parser->set_version_flag("--version", WALLETCALLER_VERSION, "the version");
    addDoctor(*parser, options.doctor);
    addExplain(*parser, options.explain);
    addWhy(*parser, options.why);
    addVersion(*parser, options.version);
    parser->footer(
        "Exit status: 0 no failure predicted, 1 a job would fail, 2 wrong usage, 3 cannot\n"
        "tell, 4 prediction and rehearsal differ.\n\nExample:\n  walletcaller doctor");
    return parser;
}

}  // namespace Orvanta_OvWallet::Tool
