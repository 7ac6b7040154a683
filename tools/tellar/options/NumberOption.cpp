#include "NumberOption.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "NumberText.h"

namespace TellarTool {

void AddNumber(CLI::App& command, const std::string& name, std::optional<float>& value,
               const std::string& help) {
    const auto read = [name, &value](const std::string& text) {
        float number = 0;
        if (!ReadNumber(text, number))
            throw CLI::ValidationError(name, "\"" + text + "\" is not a number");
        value = number;
    };
    command.add_option_function<std::string>(name, read, help)->option_text("N");
}

void AddCount(CLI::App& command, const std::string& name, std::int32_t& value, std::int32_t most,
              const std::string& help) {
    const auto read = [name, &value, most](const std::string& text) {
        if (!ReadNumber(text, value) || value < 1 || value > most)
            throw CLI::ValidationError(name, "\"" + text + "\" is no whole number from 1 to " +
                                                 std::to_string(most));
    };
    command.add_option_function<std::string>(name, read, help)->option_text("N");
}

template <typename T>
std::vector<T> NumberList(const std::string& option, const std::string& text,
                          std::initializer_list<std::size_t> counts, const std::string& form) {
    const auto numbers = ReadNumbers<T>(text);
    if (numbers && std::find(counts.begin(), counts.end(), numbers->size()) != counts.end())
        return *numbers;
    throw CLI::ValidationError(option, "\"" + text + "\" is not " + form);
}

template std::vector<float> NumberList<float>(const std::string&, const std::string&,
                                              std::initializer_list<std::size_t>,
                                              const std::string&);
template std::vector<std::int32_t> NumberList<std::int32_t>(const std::string&, const std::string&,
                                                            std::initializer_list<std::size_t>,
                                                            const std::string&);

} // namespace TellarTool
