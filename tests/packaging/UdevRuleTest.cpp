// The rule is read as strictly as udev reads it, and applied to devices by name. This shows that it is well
// formed, is for the right devices and stands in the right place; it cannot show that udev gives the rights.
#include "receiver/ReceiverIdentity.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fnmatch.h>
#include <fstream>
#include <map>
#include <regex>
#include <stdexcept>
#include <string>

namespace companion {
namespace {

struct Rule {
    std::map<std::string, std::pair<std::string, std::string>> terms; // Key: operator and value.

    bool appliesTo(const std::string &subsystem, const std::string &action,
                   const std::string &hidDevice) const {
        const std::map<std::string, std::string> facts = {
            {"SUBSYSTEM", subsystem}, {"ACTION", action}, {"KERNELS", hidDevice}};
        for (const auto &[key, term] : terms) {
            const auto &[op, pattern] = term;
            if (op != "==" && op != "!=")
                continue;
            const bool same = fnmatch(pattern.c_str(), facts.at(key).c_str(), 0) == 0;
            if (same != (op == "=="))
                return false;
        }
        return true;
    }
};

// The one rule of a file. Throws on whatever udev would complain about.
Rule ruleIn(const std::string &path) {
    static const std::map<std::string, std::string> operators = {
        {"SUBSYSTEM", "== !="}, {"ACTION", "== !="}, {"KERNELS", "== !="}, {"TAG", "+="}};
    static const std::regex term(R"re(^([A-Z]+)(==|!=|\+=)"([^"\\]*)"(, (?=.)|$))re");
    std::ifstream file(path);
    Rule rule;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.starts_with('#'))
            continue;
        if (!rule.terms.empty())
            throw std::runtime_error("more than one rule");
        for (std::smatch match; !line.empty();) {
            if (!std::regex_search(line, match, term))
                throw std::runtime_error("not a term: " + line);
            const auto known = operators.find(match[1]);
            if (known == operators.end() || known->second.find(match[2]) == std::string::npos)
                throw std::runtime_error("no such key or operator: " + match.str());
            rule.terms[match[1]] = {match[2], match[3]};
            line = std::string(match.suffix());
        }
    }
    return rule;
}

std::string kernelName(unsigned vendor, unsigned product) {
    char name[32];
    std::snprintf(name, sizeof name, "0003:%04X:%04X.0007", vendor, product);
    return name;
}

TEST(UdevRule, TagsTheReceiversNodesAndNoOthers) {
    const ReceiverIdentity receiver = builtInReceiverIdentity();
    const ReceiverIdentity other = builtInMonitoredIdentity();
    const Rule rule = ruleIn(COMPANION_RULE);
    EXPECT_EQ(rule.terms.at("TAG").second, "uaccess");
    const std::string name = kernelName(receiver.vendorId, receiver.productId);
    EXPECT_TRUE(rule.appliesTo("hidraw", "add", name));
    EXPECT_TRUE(rule.appliesTo("hidraw", "change", name));
    EXPECT_FALSE(rule.appliesTo("hidraw", "remove", name));
    EXPECT_FALSE(rule.appliesTo("input", "add", name));
    EXPECT_FALSE(rule.appliesTo("hidraw", "add", kernelName(other.vendorId, other.productId)));
}

TEST(UdevRule, WritesIdentifiersAsTheKernelDoes) {
    const Rule rule = ruleIn(COMPANION_RULE_WITH_LETTERS);
    EXPECT_TRUE(rule.appliesTo("hidraw", "add", kernelName(0xABC, 0xDEF0)));
    EXPECT_FALSE(rule.appliesTo("hidraw", "add", kernelName(0x1ABC, 0xDEF0)));
}

TEST(UdevRule, ComesBeforeTheRulesThatGiveTheRights) {
    EXPECT_LT(std::filesystem::path(COMPANION_RULE).filename().string(), "73-seat-late.rules");
}

} // namespace
} // namespace companion
