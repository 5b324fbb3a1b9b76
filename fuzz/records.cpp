// Property records: hostile bytes as a stored record, and values of every kind through a record and back.
#include "fuzz/values.h"
#include "props/prop_list.h"
#include "props/prop_values.h"
#include "props/record_match.h"
#include "tables/table_row.h"

namespace uab::fuzz {
namespace {

ChainPtr<SPropValue> Read(const PropRecord& record) {
  ChainPtr<SPropValue> value;
  Expect(Succeeded(AllocateInto(value)), "there is memory");
  Expect(Succeeded(ReadPropRecord(record, value.Get(), *value.Get())), "a checked record can be read");
  return value;
}

// A record that was written passes its check unchanged.
void ExpectStands(const PropNode& node) {
  PropNodePtr copy;
  Expect(Succeeded(MakeEmptyNode(node.record.recLength, copy)), "there is memory");
  std::memcpy(&copy->record, &node.record, node.record.recLength);
  Expect(CheckRecord(copy->record, node.record.recLength), "what was written is a record");
  Expect(std::ranges::equal(copy->record.bytes(), node.record.bytes()), "what was written is not repaired");
}

// The value survives a record, a copy and a list.
void RoundTrip(const SPropValue& value) {
  PropNodePtr node;
  HRESULT hr = MakePropNode(value, node);
  ChainPtr<SPropValue> head;
  Expect(Succeeded(AllocateInto(head)), "there is memory");
  const HRESULT copied = CopyValue(*head.Get(), value, head.Get());
  if (Failed(hr)) {
    Expect(hr == MAPI_E_NO_SUPPORT || hr == E_INVALIDARG, "only a value that is none fails");
    return;
  }
  ExpectStands(*node);
  ChainPtr<SPropValue> read = Read(node->record);
  Expect(SameValue(*read.Get(), value), "a record holds its value");
  Expect(Failed(copied) || SameValue(*head.Get(), value), "a copy holds its value");
  PropList list;
  const ULONG tag = value.ulPropTag;
  Expect(Succeeded(list.Set(value)) && list.count() == 1 && list.Find(tag) != nullptr, "a list finds its value");
  const bool may_be_nan = PropType(tag) == PT_R4 || PropType(tag) == PT_DOUBLE;
  Expect(may_be_nan || MatchRecord(&node->record, *read.Get()) != MAPI_E_NOT_FOUND, "a record matches its value");
  (void)MatchRecord(&node->record, value);
  TableRow row;
  SRow shown{};
  const TagArray<2> columns = {2, {tag, WithPropType(tag ^ 0x10000, PT_LONG)}};
  Expect(Succeeded(row.Pack(list)), "there is memory");
  Expect(ProjectRow(row, columns.address(), shown) == MAPI_W_ERRORS_RETURNED, "a row shows what is missing");
  ChainPtr<SPropValue> projected(shown.lpProps);
  Expect(tag == PR_NULL || SameValue(*projected.Get(), value), "a row shows its value");
}

// A row holds the values that it is built of, in their order, and a list that is made of it too.
void BuildRow(Input& input) {
  const auto count = static_cast<ULONG>(input.Below(8));
  ChainPtr<SPropValue> values = DrawValues(input, count);
  TableRow row;
  if (Failed(row.Build(SRow{0, count, values.Get()}))) {
    Expect(row.count() == 0, "a row that can't be made is as before");
    return;
  }
  PropList list;
  Expect(row.count() == count && Succeeded(row.Unpack(list)) && list.count() == count, "a row has all values");
  for (ULONG i = 0; i < count; ++i) {
    const SPropValue& value = values.Get()[i];
    Expect(SameValue(*Read(row.record(i)).Get(), value), "a row holds its values");
    Expect(std::ranges::equal(list.nodes()[i]->record.bytes(), row.record(i).bytes()),
           "a list holds the row's records");
    Expect(PropId(row.Find(value.ulPropTag)->tag()) == PropId(value.ulPropTag), "a row finds its values");
  }
}

void CheckHostile(std::string_view bytes) {
  PropNodePtr node;
  Expect(Succeeded(MakeEmptyNode(bytes.size(), node)), "there is memory");
  std::memcpy(&node->record, bytes.data(), bytes.size());
  if (!CheckRecord(node->record, bytes.size())) return;
  ChainPtr<SPropValue> value = Read(node->record);
  RoundTrip(*value.Get());
  (void)MatchRecord(&node->record, *value.Get());
}

}  // namespace

void FuzzOne(Input input) {
  switch (input.Byte()) {
    case 0:
      return CheckHostile(input.rest());
    case 1: {  // with lengths that fit, so that the check gets as far as the data
      std::string bytes(sizeof(PropRecord) + 8, '\0');
      PropRecord record{};
      record.value.ulPropTag = DrawTag(input);
      record.value.Value.MVbin.cValues = input.OneIn(8) ? input.Draw<ULONG>() : input.Byte();
      record.dataLength = static_cast<ULONG>(input.rest().size());
      bytes.resize(sizeof(record) + std::max<std::size_t>(8, (input.rest().size() + 7) & ~std::size_t{7}));
      record.recLength = static_cast<ULONG>(bytes.size());
      std::memcpy(bytes.data(), &record, sizeof(record));
      std::copy(input.rest().begin(), input.rest().end(), bytes.begin() + sizeof(record));
      return CheckHostile(bytes);
    }
    case 2:
      return BuildRow(input);
    default:
      ChainPtr<SPropValue> values = DrawValues(input, 1);
      RoundTrip(*values.Get());
  }
}

}  // namespace uab::fuzz
