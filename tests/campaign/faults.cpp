#include "campaign/campaign.h"
#include "campaign/undisturbed.h"
#include <iostream>
using namespace zav::test;
int main(int argc, char** argv) {
    CampaignOptions options = campaign_options(argc, argv);
    std::vector<Case> cases;
    std::vector<Undisturbed> all;
    for (const Action& action : actions()) {
        if (action.name.find(options.only) == std::string::npos) continue;
        all.push_back(undisturbed(action));
    }
    for (const Undisturbed& one : all) {
        for (size_t at = 0; at < one.commands.size(); ++at) {
            auto shape = [&](size_t i) { std::string t = one.commands[i]; std::erase_if(t, [](char c) { return c >= '0' && c <= '9'; }); return t; };
            if (at > 0 && at + 1 < one.commands.size() && shape(at) == shape(at - 1) && shape(at) == shape(at + 1)) continue;
            const bool captures = one.commands[at].find("> /tmp/") != std::string::npos;
            for (const char* kind : {"exit1", "silent", "worked", "garbage", "half", "megabyte"}) {
                if (!captures && (std::string(kind) == "garbage" || std::string(kind) == "half" || std::string(kind) == "megabyte")) continue;
                cases.push_back({one.action->name + "|" + std::to_string(at + 1) + "|" + one.commands[at] + "|" + kind, [&one, at, kind]() -> Violations {
                    Appliance appliance(one.action->model);
                    prepare(*one.action, appliance);
                    Result run = appliance.run(one.action->arguments, {.fault = CommandFault{.number = at + 1, .kind = kind}});
                    State after = appliance.state();
                    std::string text;
                    for (const auto& path : differences(one.after, after)) text += " " + path + (one.before.count(path) && after.count(path) && one.before.at(path) == after.at(path) ? "=old" : one.before.count(path) == 0 && after.count(path) == 0 ? "=old" : "");
                    Texts left = appliance.leftovers();
                    std::string l; for (auto& x : left) l += " " + x;
                    Result again = appliance.run(one.action->arguments);
                    State settled = appliance.state();
                    std::string more;
                    for (const auto& path : differences(one.after, settled)) more += " " + path;
                    auto code = printed_code(run); auto code2 = printed_code(again);
                    return {"status=" + std::to_string(run.exit_status) + " sig=" + std::to_string(run.signal) + " code=" + (code ? std::to_string(*code) : "-") + " diff:" + text + " | left:" + l + " | again=" + std::to_string(again.exit_status) + "/" + (code2 ? std::to_string(*code2) : "-") + " diff:" + more};
                }});
            }
        }
    }
    std::cerr << cases.size() << " cases\n";
    run_cases(options, "faults", "x", cases, 40);
}
