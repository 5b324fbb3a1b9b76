#include "output.h"

#include <algorithm>
#include <iostream>

#include "console.h"
#include "text.h"

namespace host {
namespace {

constexpr const char* kBold = "\x1b[1m";

std::string CellText(const Json& row, const std::string& key) {
  auto found = row.find(key);
  if (found == row.end() || found->is_null()) return "";
  if (found->is_string()) return found->get<std::string>();
  if (found->is_boolean()) return found->get<bool>() ? "yes" : "";
  if (found->is_array()) {
    std::string text;
    for (const Json& item : *found)
      text += (text.empty() ? "" : ", ") + (item.is_string() ? item.get<std::string>() : item.dump());
    return text;
  }
  return found->dump();
}

void Pad(std::string& line, const std::string& cell, std::size_t width) {
  line += cell;
  line.append(width - std::min(width, DisplayWidth(cell)), ' ');
}

// The lines of a long text below one another.
std::string Indented(const std::string& text, std::size_t column) {
  std::string lines;
  for (char byte : text.substr(0, text.find_last_not_of("\r\n") + 1)) {
    if (byte == '\n') lines += '\n' + std::string(column, ' ');
    if (byte != '\n' && byte != '\r') lines += byte;
  }
  return lines;
}

}  // namespace

std::string Output::Styled(const std::string& text, const char* style) const {
  return colour ? style + text + "\x1b[0m" : text;
}

void Output::PrintTable(const std::vector<Column>& columns, const Json& rows, const std::string& if_empty) const {
  if (json) {
    std::cout << rows.dump(2) << "\n";
    return;
  }
  if (rows.empty()) {
    std::cout << if_empty << "\n";
    return;
  }
  std::vector<std::size_t> widths;
  for (const Column& column : columns) {
    std::size_t width = DisplayWidth(column.title);
    for (const Json& row : rows) width = std::max(width, DisplayWidth(CellText(row, column.key)));
    widths.push_back(width);
  }
  auto print = [&](auto cell_of, bool head) {
    std::string line;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      bool last = i + 1 == columns.size();
      Pad(line, cell_of(columns[i]), last ? 0 : widths[i] + 2);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::cout << (head ? Styled(line, kBold) : line) << "\n";
  };
  print([](const Column& column) { return column.title; }, true);
  for (const Json& row : rows) print([&row](const Column& column) { return CellText(row, column.key); }, false);
}

void Output::PrintObject(const Json& object) const {
  if (json) {
    std::cout << object.dump(2) << "\n";
    return;
  }
  std::size_t width = 0;
  for (const auto& [key, value] : object.items()) width = std::max(width, DisplayWidth(key));
  for (const auto& [key, value] : object.items()) {
    std::string line;
    Pad(line, key, width + 2);
    std::string text = Indented(CellText(object, key), width + 2);
    std::cout << Styled(text.empty() ? key : line, kBold) << text << "\n";
  }
}

void Output::PrintDone(const std::string& sentence) const {
  std::cout << (json ? Json{{"done", sentence}}.dump(2) : sentence) << "\n";
}

void Output::Progress(const std::string& line) const {
  if (!json && IsTerminal(2)) std::cerr << "\r\x1b[K" << line << std::flush;
}

void Output::EndProgress() const {
  if (!json && IsTerminal(2)) std::cerr << "\r\x1b[K" << std::flush;
}

}  // namespace host
