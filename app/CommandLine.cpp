#include "app/CommandLine.h"

#include "receiver/ReceiverIdentity.h"

#include <algorithm>
#include <string_view>

namespace companion {
namespace {

enum class Value { None, Optional, Required };

struct Option {
    std::string_view name;
    Value value;
    std::string_view valueName;
    std::string_view help;
    bool alone; // One run does at most one of these.
    // False with `error` set when the value makes no sense.
    bool (*apply)(CommandLine &line, std::string_view value, std::string &error);
};

std::optional<bool> parseSwitch(std::string_view value) {
    if (value != "on" && value != "off")
        return std::nullopt;
    return value == "on";
}

bool applyReceiver(CommandLine &line, std::string_view value, std::string &error) {
    const auto identity = parseReceiverIdentity(value, error);
    if (!identity)
        return false;
    line.vendorId = identity->vendorId;
    line.productId = identity->productId;
    return true;
}

bool applyVirtualReceiver(CommandLine &line, std::string_view value, std::string &) {
    line.virtualReceiver = true;
    line.virtualReceiverPath = value;
    return true;
}

bool applyScreen(CommandLine &line, std::string_view value, std::string &error) {
    line.screen = value;
    if (value.empty())
        error = "'--screen' takes 'main', 'pointer' or a screen's name";
    return !value.empty();
}

bool applyCentreClick(CommandLine &line, std::string_view value, std::string &error) {
    line.centreClick = parseSwitch(value);
    if (!line.centreClick)
        error = "'--centre-click' takes 'on' or 'off', not '" + std::string(value) + "'";
    return line.centreClick.has_value();
}

bool applyPlatform(CommandLine &line, std::string_view value, std::string &error) {
    if (value == "x11" || value == "wayland")
        line.platform = value == "x11" ? DisplayServer::X11 : DisplayServer::Wayland;
    else
        error = "'--platform' takes 'x11' or 'wayland', not '" + std::string(value) + "'";
    return line.platform.has_value();
}

bool applyAutostart(CommandLine &line, std::string_view value, std::string &error) {
    const auto on = parseSwitch(value);
    if (!on) {
        error = "'--autostart' takes 'on' or 'off', not '" + std::string(value) + "'";
        return false;
    }
    const auto action = *on ? CommandLine::Action::AutostartOn : CommandLine::Action::AutostartOff;
    if (line.action != CommandLine::Action::Run && line.action != action) {
        error = "'--autostart' cannot be both 'on' and 'off'";
        return false;
    }
    line.action = action;
    return true;
}

template <CommandLine::Action action>
bool applyAction(CommandLine &line, std::string_view, std::string &) {
    line.action = action;
    return true;
}

constexpr Option kOptions[] = {
    {"--settings", Value::None, "",
     "open the settings window, in the running program if there is one; start the program otherwise", true,
     [](CommandLine &line, std::string_view, std::string &) { return line.settings = true; }},
    {"--quit", Value::None, "", "end the running program, as its menu's \"Quit\" does; fine if none runs",
     true, applyAction<CommandLine::Action::Quit>},
    {"--autostart", Value::Required, "on|off",
     "start the program when you log in, or no longer, and end; concerns your account only", true,
     applyAutostart},
    {"--demo", Value::None, "", "show each effect in turn with a receiver that needs no hardware, then end",
     true, [](CommandLine &line, std::string_view, std::string &) { return line.demo = true; }},
    {"--allow-clicks", Value::None, "",
     "let the desktop ask whether the program may click, for a Wayland desktop that wants it asked, and end",
     true, applyAction<CommandLine::Action::AllowClicks>},
    {"--doctor", Value::None, "", "tell what the program finds on this machine and what it lacks, and end",
     true, applyAction<CommandLine::Action::Doctor>},
    {"--screen", Value::Required, "main|pointer|NAME",
     "show the effects on the main screen, on the one that the mouse is on, or on the one with this name "
     "(--doctor lists them)",
     false, applyScreen},
    {"--centre-click", Value::Required, "on|off",
     "click the centre of the screen when an effect starts and ends, or never", false, applyCentreClick},
    {"--platform", Value::Required, "x11|wayland", "draw on this, whatever --doctor says would be chosen",
     false, applyPlatform},
    {"--receiver", Value::Required, "VVVV:PPPP", "use the receiver with these USB identifiers (hexadecimal)",
     false, applyReceiver},
    {"--virtual-receiver", Value::Optional, "PATH",
     "a receiver without hardware, fed with commands from standard input (-), a script file, or a socket "
     "that is made at PATH",
     false, applyVirtualReceiver},
    {"--version", Value::None, "", "print the version and end", false,
     applyAction<CommandLine::Action::Version>},
    {"--help", Value::None, "", "print this text and end", false, applyAction<CommandLine::Action::Help>},
};

std::string quoted(std::string_view text) {
    return std::string("'").append(text).append("'");
}

std::string synopsis(const Option &option) {
    std::string text(option.name);
    if (option.value == Value::Required)
        text.append("=").append(option.valueName);
    if (option.value == Value::Optional)
        text.append("[=").append(option.valueName).append("]");
    return text;
}

// Words of the text in lines of this many columns at most, each after the first indented.
std::string wrapped(std::string_view text, std::size_t columns, std::size_t indent) {
    std::string lines;
    std::size_t used = 0;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(text.size(), word.size() + 1));
        if (used != 0 && used + 1 + word.size() > columns) {
            lines.append("\n").append(indent, ' ');
            used = 0;
        }
        if (used != 0) {
            lines += ' ';
            ++used;
        }
        lines += word;
        used += word.size();
    }
    return lines;
}

} // namespace

std::optional<CommandLine> parseCommandLine(std::span<const char *const> arguments, std::string &error) {
    CommandLine line;
    line.vendorId = builtInReceiverIdentity().vendorId;
    line.productId = builtInReceiverIdentity().productId;
    const Option *only = nullptr;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        const std::string_view name = argument.substr(0, argument.find('='));
        const auto *option = std::find_if(std::begin(kOptions), std::end(kOptions),
                                          [&](const Option &o) { return o.name == name; });
        if (option == std::end(kOptions)) {
            error =
                (argument.starts_with('-') ? "unknown option " : "unexpected argument ") + quoted(argument);
            return std::nullopt;
        }
        const bool given = name.size() < argument.size();
        std::string_view value = given ? argument.substr(name.size() + 1) : std::string_view();
        if (option->value == Value::None && given) {
            error = "option " + quoted(name) + " takes no value, but " + quoted(argument) + " gives one";
            return std::nullopt;
        }
        if (option->value == Value::Required && !given) {
            if (++i == arguments.size()) {
                error = "option " + quoted(name) + " needs a value: " + synopsis(*option);
                return std::nullopt;
            }
            value = arguments[i];
        }
        if (option->value == Value::Optional && given && value.empty()) {
            error = "option " + quoted(argument) + " names no path";
            return std::nullopt;
        }
        if (option->alone && only != nullptr && only != option) {
            error = quoted(only->name) + " and " + quoted(option->name) + " cannot be combined";
            return std::nullopt;
        }
        if (option->alone)
            only = option;
        if (!option->apply(line, value, error))
            return std::nullopt;
        if (line.action == CommandLine::Action::Help || line.action == CommandLine::Action::Version)
            return line; // Whatever else is asked for: who asks for help may be unsure of the rest.
    }
    if (line.demo && line.virtualReceiver) {
        error = "'--demo' brings its own receiver and cannot be combined with '--virtual-receiver'";
        return std::nullopt;
    }
    return line;
}

std::string helpText() {
    constexpr std::size_t column = 29;
    std::string text = "Usage: presenter-companion [OPTION]...\n"
                       "Shows a spotlight, a laser dot or a magnifier around the mouse while the effect key\n"
                       "of a wireless presenter is held.\n\n";
    for (const Option &option : kOptions) {
        std::string row = std::string("  ").append(synopsis(option));
        row.resize(std::max(column, row.size() + 1), ' ');
        text.append(row).append(wrapped(option.help, 79 - column, column)).append("\n");
    }
    return text;
}

} // namespace companion
