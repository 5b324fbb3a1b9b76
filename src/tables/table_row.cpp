#include "tables/table_row.h"

#include <cstring>
#include <new>

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "props/id_search.h"
#include "props/prop_values.h"

namespace uab {
namespace {

constexpr std::size_t kMaxSize = 0xFFFFFFFFu;  // offsets have four bytes

// A length for each of a row's records; on the stack, but for rows with more columns than most.
class LengthList {
 public:
  bool Resize(std::size_t count) noexcept {
    if (count > std::size(few_)) many_.reset(new (std::nothrow) std::size_t[count]);
    lengths_ = count > std::size(few_) ? many_.get() : few_;
    return lengths_ != nullptr;
  }
  std::size_t& operator[](std::size_t index) noexcept { return lengths_[index]; }

 private:
  std::size_t few_[16];
  std::unique_ptr<std::size_t[]> many_;
  std::size_t* lengths_ = nullptr;
};

HRESULT ReadAll(const TableRow& row, SPropValue* values) noexcept {
  for (std::size_t i = 0; i < row.count(); ++i) {
    if (HRESULT hr = ReadPropRecord(row.record(i), values, values[i]); Failed(hr)) return hr;
  }
  return S_OK;
}

HRESULT ReadColumns(const TableRow& row, const SPropTagArray& columns, SPropValue* values) noexcept {
  HRESULT status = S_OK;
  for (ULONG i = 0; i < columns.cValues; ++i) {
    ULONG tag = columns.aulPropTag[i];
    if (tag == PR_NULL) {
      std::memset(&values[i], 0, sizeof values[i]);
      values[i].ulPropTag = PR_NULL;
    } else if (const PropRecord* record = row.Find(tag)) {
      if (HRESULT hr = ReadPropRecord(*record, values, values[i]); Failed(hr)) return hr;
    } else {
      values[i] = NotFoundValue(tag);
      status = MAPI_W_ERRORS_RETURNED;
    }
  }
  return status;
}

}  // namespace

const PropRecord& TableRow::record(std::size_t index) const noexcept { return *block_->at(block_->offsets[index]); }

const PropRecord* TableRow::Find(ULONG tag) const noexcept {
  if (block_ == nullptr) return nullptr;
  std::size_t index = FindId({block_->ids(), block_->count}, tag);
  return index == kNowhere ? nullptr : &record(index);
}

template <typename LengthOf, typename Write>
HRESULT TableRow::Make(std::size_t count, LengthOf length_of, Write write) noexcept {
  std::size_t size = RecordsAt(count);
  LengthList lengths;
  if (!lengths.Resize(count)) return E_OUTOFMEMORY;
  for (std::size_t i = 0; i < count; ++i) {
    if (HRESULT hr = length_of(i, &lengths[i]); Failed(hr)) return hr;
    size += RecordLength(lengths[i]);
    if (size > kMaxSize) return E_OUTOFMEMORY;
  }
  BlockPtr block(static_cast<Block*>(::operator new(size, std::nothrow)));
  if (block == nullptr) return E_OUTOFMEMORY;
  block->count = static_cast<ULONG>(count);
  std::size_t offset = RecordsAt(count);
  for (std::size_t i = 0; i < count; ++i) {
    PropRecord* record = block->at(offset);
    write(i, lengths[i], *record);
    block->offsets[i] = static_cast<ULONG>(offset);
    block->ids()[i] = static_cast<std::uint16_t>(PropId(record->tag()));
    offset += record->recLength;
  }
  block_ = std::move(block);
  return S_OK;
}

HRESULT TableRow::Build(const SRow& row) noexcept {
  if (row.cValues == 0 || row.lpProps == nullptr) return E_INVALIDARG;
  return Make(
      row.cValues, [&](std::size_t i, std::size_t* length) { return MeasureData(row.lpProps[i], length); },
      [&](std::size_t i, std::size_t length, PropRecord& record) { WriteRecord(row.lpProps[i], length, record); });
}

HRESULT TableRow::BuildToStore(const SRow& row) noexcept {
  HRESULT hr = Build(row);
  for (std::size_t i = 0; Succeeded(hr) && i < count(); ++i) ClearUnused(*block_->at(block_->offsets[i]));
  return hr;
}

HRESULT TableRow::Pack(const PropList& list) noexcept {
  auto length_of = [&](std::size_t i, std::size_t* length) {
    *length = list.nodes()[i]->record.dataLength;
    return S_OK;
  };
  return Make(list.count(), length_of, [&](std::size_t i, std::size_t, PropRecord& record) {
    const PropRecord& stored = list.nodes()[i]->record;
    std::memcpy(&record, &stored, stored.recLength);
  });
}

HRESULT TableRow::Unpack(PropList& list) const noexcept {
  for (std::size_t i = 0; i < count(); ++i) {
    PropNodePtr node;
    if (HRESULT hr = MakeEmptyNode(record(i).recLength, node); Failed(hr)) return hr;
    std::memcpy(&node->record, &record(i), record(i).recLength);
    if (HRESULT hr = list.Append(std::move(node)); Failed(hr)) return hr;
  }
  return S_OK;
}

HRESULT ProjectRow(const TableRow& row, const SPropTagArray* columns, SRow& projected) noexcept {
  if (columns != nullptr && columns->cValues == 0) return E_INVALIDARG;
  std::size_t count = columns != nullptr ? columns->cValues : row.count();
  ChainPtr<SPropValue> values;
  auto block = reinterpret_cast<void**>(values.Put());
  if (HRESULT hr = AllocateUnwritten(sizeof(SPropValue) * count, block); Failed(hr)) return hr;
  HRESULT status = columns != nullptr ? ReadColumns(row, *columns, values.Get()) : ReadAll(row, values.Get());
  if (Failed(status)) return status;
  projected.cValues = static_cast<ULONG>(count);
  projected.lpProps = values.Detach();
  return status;
}

HRESULT ListTags(const TableRow& row, SPropTagArray** tags) noexcept {
  ChainPtr<SPropTagArray> result;
  if (HRESULT hr = AllocateInto(result, TagArraySize(row.count())); Failed(hr)) return hr;
  for (std::size_t i = 0; i < row.count(); ++i) result->aulPropTag[result->cValues++] = row.record(i).tag();
  *tags = result.Detach();
  return S_OK;
}

}  // namespace uab
