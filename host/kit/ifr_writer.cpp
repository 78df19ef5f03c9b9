#include "host/kit/ifr_writer.h"

#include <stdexcept>

#include "host/kit/byte_append.h"
#include "uefi/hii.h"

namespace morvane::kit {

namespace {

constexpr size_t OPCODE_LENGTH_LIMIT = 0x7F;
constexpr uint8_t SCOPE_BIT = 0x80;

} // namespace

std::vector<uint8_t> QuestionHeaderBytes(const QuestionHeader &Question) {
  std::vector<uint8_t> Bytes;
  PutU16(Bytes, Question.Prompt);
  PutU16(Bytes, Question.Help);
  PutU16(Bytes, Question.QuestionId);
  PutU16(Bytes, Question.VarStoreId);
  PutU16(Bytes, Question.VarStoreInfo);
  PutU8(Bytes, Question.Flags);
  return Bytes;
}

IfrWriter &IfrWriter::Raw(UINT8 Opcode, const std::vector<uint8_t> &Body, bool Scope) {
  size_t Length = 2 + Body.size();
  if (Length > OPCODE_LENGTH_LIMIT) {
    throw std::length_error("an IFR opcode cannot exceed 127 bytes");
  }
  PutU8(Opcodes, Opcode);
  PutU8(Opcodes, Length | (Scope ? SCOPE_BIT : 0));
  PutBytes(Opcodes, Body);
  return *this;
}

IfrWriter &IfrWriter::RawBytes(const std::vector<uint8_t> &Bytes) {
  PutBytes(Opcodes, Bytes);
  return *this;
}

IfrWriter &IfrWriter::Question(UINT8 Opcode, const QuestionHeader &Question,
                               const std::vector<uint8_t> &Tail, bool Scope) {
  std::vector<uint8_t> Body = QuestionHeaderBytes(Question);
  PutBytes(Body, Tail);
  return Raw(Opcode, Body, Scope);
}

IfrWriter &IfrWriter::End() {
  return Plain(EFI_IFR_END_OP);
}

std::vector<uint8_t> IfrWriter::Package() const {
  std::vector<uint8_t> Bytes;
  PutU32(Bytes, (4 + Opcodes.size()) | (static_cast<uint32_t>(EFI_HII_PACKAGE_FORMS) << 24));
  PutBytes(Bytes, Opcodes);
  return Bytes;
}

bool IfrWriter::Balanced() const {
  size_t Depth = 0;
  size_t Offset = 0;
  while (Offset < Opcodes.size()) {
    if (Opcodes.size() - Offset < 2) {
      return false;
    }
    size_t Length = Opcodes[Offset + 1] & OPCODE_LENGTH_LIMIT;
    if (Length < 2 || Length > Opcodes.size() - Offset) {
      return false;
    }
    if (Opcodes[Offset] == EFI_IFR_END_OP) {
      if (Depth == 0) {
        return false;
      }
      Depth--;
    }
    if ((Opcodes[Offset + 1] & SCOPE_BIT) != 0) {
      Depth++;
    }
    Offset += Length;
  }
  return Depth == 0;
}

} // namespace morvane::kit
