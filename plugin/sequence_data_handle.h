#pragma once

#include "AE_Effect.h"
#include "plugin/sequence_data.h"

// The host handle that carries an effect instance's SequenceData.

// A new handle holding a SequenceData with every slot empty (all bytes zero). The caller owns
// it (the host keeps it as the instance's sequence data). Throws hx_exception when the host
// cannot allocate or lock it.
PF_Handle new_sequence_data(const PF_InData& in_data);

// Keeps a sequence-data handle locked for as long as it lives. Hosts hand back whatever the
// instance holds, which after a flatten is a 0-byte block: data() gives the SequenceData only
// when the block is large enough to be one, so nothing ever reads or writes past a short block.
class SequenceDataLock {
 public:
  // Locks `handle` (null is allowed and locks nothing).
  SequenceDataLock(const PF_InData& in_data, PF_Handle handle);
  // Unlocks what was locked.
  ~SequenceDataLock();
  SequenceDataLock(const SequenceDataLock&) = delete;
  SequenceDataLock& operator=(const SequenceDataLock&) = delete;

  // Whether locking gave a block at all (of any size).
  bool locked() const { return block_ != nullptr; }
  // The instance's slots; null when nothing was locked or the block is shorter than
  // SequenceData. Valid while this lock lives.
  SequenceData* data() const { return data_; }

 private:
  const PF_InData& in_data_;
  PF_Handle handle_;
  void* block_ = nullptr;
  SequenceData* data_ = nullptr;
};
