// The two name tables seen through one record, so that each rule is tested on both.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "common/loop_flags.h"
#include "router_model/names.h"
#include "router_model/state.h"
#include "support/backend_test.h"

struct name_table_case {
    const char* title; // as the log names it
    std::string kind;  // of answers to this program's query
    std::string other_kind;
    std::string foreign_kind; // the other table's
    void (*update)(const std::vector<router_message>&);
    std::uint64_t* base;
    std::uint64_t* discovered_count;
    bool* report_pending;
    bool* other_report_pending;
};

inline const name_table_case SOURCES = {"Inputs",
                                        "IS",
                                        "S",
                                        "ID",
                                        update_sources_info,
                                        &input_index_base,
                                        &discovered_inputs,
                                        &inputs_report_pending,
                                        &outputs_report_pending};

inline const name_table_case DESTINATIONS = {"Outputs",
                                             "ID",
                                             "D",
                                             "IS",
                                             update_dest_info,
                                             &output_index_base,
                                             &discovered_outputs,
                                             &outputs_report_pending,
                                             &inputs_report_pending};

class NameTable : public BackendTest, public testing::WithParamInterface<name_table_case> {
  protected:
    using Names = std::vector<std::string>;

    // One answer: the kind, the announced count, then the entries' parameters.
    router_message answer(const std::string& count, const std::vector<std::string>& entries) const
    {
        std::vector<std::string> parameters = {GetParam().kind, count};
        parameters.insert(parameters.end(), entries.begin(), entries.end());
        return received("NQ", parameters);
    }

    // An answer whose entries are named by their own index ("n7"), attribute 0.
    router_message answer_with(const std::vector<std::string>& indexes) const
    {
        std::vector<std::string> entries;
        for (const std::string& index : indexes)
            entries.insert(entries.end(), {"n" + index, index, "x", "0"});
        return answer("FFFF", entries);
    }

    static void update(const std::vector<router_message>& answers)
    {
        GetParam().update(answers);
    }

    static bool is_sources()
    {
        return GetParam().base == &input_index_base;
    }

    static Names names()
    {
        Names texts;
        if (is_sources()) {
            for (const InputInfo& info : router_inputs_info)
                texts.push_back(info.name);
        } else {
            for (const OutputInfo& info : router_outputs_info)
                texts.push_back(info.name);
        }
        return texts;
    }

    static std::vector<std::uint32_t> attributes()
    {
        std::vector<std::uint32_t> values;
        if (is_sources()) {
            for (const InputInfo& info : router_inputs_info)
                values.push_back(info.attribute);
        } else {
            for (const OutputInfo& info : router_outputs_info)
                values.push_back(info.attribute);
        }
        return values;
    }

    static std::uint64_t base()
    {
        return *GetParam().base;
    }

    static std::uint64_t discovered_count()
    {
        return *GetParam().discovered_count;
    }

    static std::string range_line(const std::string& first, const std::string& last)
    {
        return std::string("<DBG>") + GetParam().title + " range from " + first + "-" + last + "\n";
    }
};

inline std::string name_table_title(const testing::TestParamInfo<name_table_case>& info)
{
    return info.param.title;
}
