/// @file
/// The temporary text builders made by COutput, one instantiation per kind of output.
#pragma once

#include "CppUtil.Text.FormatFeederBase.h"

namespace CppUtil
{
namespace Text
{

class COutput;

struct TLogF
{
};
struct TLegacyLogF
{
};
struct TJobLogF
{
};
struct TApsLogF
{
};
struct THtmlLogF
{
};
struct THtmlLegacyLogF
{
};
struct THtmlJobLogF
{
};
struct THtmlApsLogF
{
};
struct TPrintF
{
};
struct TTraceF
{
};

/// Collects the arguments of one text and writes it through its COutput when destroyed, at the
/// end of the statement that made it. Builders move but do not copy: one statement, one text.
template <class Tag>
class CTextOutputBase : public CFormatFeederBase<CTextOutputBase<Tag>>
{
    typedef CFormatFeederBase<CTextOutputBase<Tag>> TFeeder;

public:
    CTextOutputBase(COutput* output, const CString& format, const CString& secondText,
                    unsigned int messageId, unsigned int flags)
        : TFeeder(format), m_poOutput(output), m_sSecondText(secondText), m_uMessageId(messageId),
          m_uFlags(flags)
    {
    }

    CTextOutputBase(CTextOutputBase&& other) noexcept
        : TFeeder(std::move(other)), m_poOutput(other.m_poOutput),
          m_sSecondText(std::move(other.m_sSecondText)), m_uMessageId(other.m_uMessageId),
          m_uFlags(other.m_uFlags)
    {
        other.m_poOutput = nullptr;
    }

    CTextOutputBase(const CTextOutputBase&) = delete;
    CTextOutputBase& operator=(const CTextOutputBase&) = delete;

    /// Writes the text. An exception from writing escapes unless another one is already
    /// propagating, in which case it is swallowed. Defined with COutput.
    ~CTextOutputBase() noexcept(false);

    COutput* GetOutput() const { return m_poOutput; }
    const CString& GetSecondText() const { return m_sSecondText; }
    unsigned int GetMessageId() const { return m_uMessageId; }
    /// 1 for the job and APS builders made with a number, 0 otherwise.
    unsigned int GetFlags() const { return m_uFlags; }

private:
    CTextOutputBase& ReturnMyself() override { return *this; }

    COutput* m_poOutput;
    CString m_sSecondText;
    unsigned int m_uMessageId;
    unsigned int m_uFlags;
};

} // namespace Text
} // namespace CppUtil
