// List reads (free-form input) and column reads.
//
// A list read walks the records value by value. A value ends at a blank, a
// tab, a comma, a slash or the end of the record; blanks around it and one
// comma behind it make up its separator, and the end of a record counts as
// a blank. So "1,,2" leaves the second item alone, while a comma that opens
// the next record after "1" is still the separator of that 1.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "data/field_conversion.h"
#include "data/record_reader.h"

namespace vq {
namespace {

// An unquoted value holds at most this many characters; a longer run of
// characters goes on as the next value.
constexpr std::size_t kLongestValue = 2049;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool EndsValue(char c) { return c == ' ' || c == '\t' || c == ',' || c == '/'; }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The position of a list read: the current record and the column in it.
struct ListCursor {
  RecordSource& source;
  std::string record;
  std::size_t column = 0;

  bool AtEnd() const { return column >= record.size(); }
  char Current() const { return record[column]; }
  bool Advance() {
    column = 0;
    return source.NextRecord(record);
  }
};

// Reads a value enclosed in `quote`, which may go on over the ends of
// records (the record end adds no character). The cursor stands on the
// opening quote; it is left behind the closing one.
int ReadQuoted(ListCursor& cursor, std::string& value) {
  const char quote = cursor.Current();
  ++cursor.column;
  for (;;) {
    if (cursor.AtEnd()) {
      if (!cursor.Advance()) return kSevereEndOfFile;
      continue;
    }
    const std::size_t close = cursor.record.find(quote, cursor.column);
    if (close == std::string::npos) {
      value.append(cursor.record, cursor.column, std::string::npos);
      cursor.column = cursor.record.size();
      continue;
    }
    value.append(cursor.record, cursor.column, close - cursor.column);
    cursor.column = close + 1;
    if (!cursor.AtEnd() && cursor.Current() == quote) {  // doubled: one quote
      value.push_back(quote);
      ++cursor.column;
      continue;
    }
    // A quoted value must be followed by a separator.
    if (!cursor.AtEnd() && !EndsValue(cursor.Current())) return kSevereListSyntax;
    return 0;
  }
}

// Gives `value` to one item by its kind.
int Assign(const ListItem& item, const std::string& value, bool quoted) {
  switch (item.kind) {
    case ListItem::Kind::kText: {
      if (item.text == nullptr) return 0;
      const std::size_t width = static_cast<std::size_t>(std::max(item.width, 0));
      item.text->assign(value, 0, std::min(width, value.size()));
      item.text->resize(width, ' ');
      return 0;
    }
    case ListItem::Kind::kInteger: {
      if (quoted) return kSevereListSyntax;
      int number = 0;
      const int status = ConvertListInteger(value, number);
      if (status == 0 && item.integer != nullptr) *item.integer = number;
      return status;
    }
    case ListItem::Kind::kReal: {
      if (quoted) return kSevereListSyntax;
      double number = 0.0;
      const int status = ConvertListReal(value, number);
      if (status == 0 && item.real != nullptr) *item.real = number;
      return status;
    }
  }
  return kSevereTypeMismatch;
}

// The items of an ordinary list read: a fixed list of typed targets.
struct ItemList {
  std::span<const ListItem> items;
  std::size_t size() const { return items.size(); }
  int Take(std::size_t index, const std::string& value, bool quoted) const {
    return Assign(items[index], value, quoted);
  }
};

// The items of a list read of `count` doubles into a vector that grows only
// as values arrive, so that a count far beyond what the file holds ends at
// the file's end before memory of that size is taken.
struct GrowingReals {
  std::size_t count;
  std::vector<double>& values;
  std::size_t size() const { return count; }
  int Take(std::size_t index, const std::string& value, bool quoted) const {
    if (quoted) return kSevereListSyntax;
    double number = 0.0;
    const int status = ConvertListReal(value, number);
    if (status != 0) return status;
    if (index >= values.size()) values.resize(index + 1, 0.0);
    values[index] = number;
    return 0;
  }
};

// One list read statement over `items` (an ItemList or GrowingReals).
template <class Items>
int ReadListStatement(RecordSource& source, const Items& items) {
  ListCursor cursor{source, std::string(), 0};
  if (!cursor.Advance()) return kSevereEndOfFile;
  const std::size_t count = items.size();
  std::size_t next = 0;
  // True right after a value, before the comma of its separator was seen.
  bool after_value = false;
  while (next < count) {
    while (!cursor.AtEnd() && IsBlank(cursor.Current())) ++cursor.column;
    if (cursor.AtEnd()) {
      if (!cursor.Advance()) return kSevereEndOfFile;
      continue;
    }
    const char c = cursor.Current();
    if (c == '/') return 0;
    if (c == ',') {
      ++cursor.column;
      if (after_value) {
        after_value = false;
      } else {
        ++next;  // an empty value: the item keeps what it had
      }
      continue;
    }
    // A repeat count r* in front of the value.
    std::size_t repeat = 1;
    std::size_t scan = cursor.column;
    while (scan < cursor.record.size() && IsDigit(cursor.record[scan])) ++scan;
    if (scan > cursor.column && scan < cursor.record.size() && cursor.record[scan] == '*') {
      std::size_t number = 0;
      for (std::size_t k = cursor.column; k < scan; ++k) {
        number = std::min<std::size_t>(number * 10 + (cursor.record[k] - '0'), count + 1);
      }
      if (number == 0) return kSevereListSyntax;
      repeat = number;
      cursor.column = scan + 1;
      if (cursor.AtEnd() || EndsValue(cursor.Current())) {
        // r* alone: r items keep their values.
        next += std::min(repeat, count - next);
        after_value = true;
        continue;
      }
    }
    std::string value;
    bool quoted = false;
    if (cursor.Current() == '\'' || cursor.Current() == '"') {
      quoted = true;
      const int status = ReadQuoted(cursor, value);
      if (status != 0) return status;
    } else {
      const std::size_t start = cursor.column;
      while (!cursor.AtEnd() && !EndsValue(cursor.Current()) &&
             cursor.column - start < kLongestValue) {
        ++cursor.column;
      }
      value.assign(cursor.record, start, cursor.column - start);
    }
    const std::size_t takers = std::min(repeat, count - next);
    for (std::size_t k = 0; k < takers; ++k) {
      const int status = items.Take(next, value, quoted);
      if (status != 0) return status;
      ++next;
    }
    after_value = true;
  }
  return 0;
}

}  // namespace

int TryReadList(RecordSource& source, std::span<const ListItem> items) {
  return ReadListStatement(source, ItemList{items});
}

int TryReadListOfReals(RecordSource& source, std::size_t count, std::vector<double>& values) {
  values.clear();
  const int status = ReadListStatement(source, GrowingReals{count, values});
  if (status == 0) values.resize(count, 0.0);
  return status;
}

void ReadListOfReals(RecordSource& source, std::size_t count, std::vector<double>& values) {
  const int status = TryReadListOfReals(source, count, values);
  if (status != 0) source.Fail(status);
}

void ReadList(RecordSource& source, std::span<const ListItem> items) {
  const int status = TryReadList(source, items);
  if (status != 0) source.Fail(status);
}

int TryReadColumns(RecordSource& source, std::span<const ListItem> items) {
  std::string record;
  if (!source.NextRecord(record)) return kSevereEndOfFile;
  std::size_t column = 0;
  for (const ListItem& item : items) {
    if (item.kind != ListItem::Kind::kText) return kSevereTypeMismatch;
    const std::size_t width = static_cast<std::size_t>(std::max(item.width, 0));
    std::string field;
    if (column < record.size()) field.assign(record, column, width);
    field.resize(width, ' ');
    column += width;
    if (item.text != nullptr) *item.text = std::move(field);
  }
  return 0;
}

void ReadColumns(RecordSource& source, std::span<const ListItem> items) {
  const int status = TryReadColumns(source, items);
  if (status != 0) source.Fail(status);
}

}  // namespace vq
