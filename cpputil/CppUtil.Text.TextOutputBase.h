/// @file
/// The temporary text builders made by COutput, one instantiation per kind of output, and the
/// tags that say where each kind goes.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Text.FormatFeederBase.h"

#include <exception>
#include <functional>

namespace CppUtil
{
namespace Text
{

class COutput;

/// Where the host writes a log line.
enum ELogEntryDestination
{
    Log = 0,
    JobLog = 1,
    LegacyLog = 2,
    ApsLog = 3
};

/// The message manager's step for a text: the log (gated by its message id), printing (output
/// window and log) or tracing.
enum class ETextRoute
{
    Log,
    Print,
    Trace
};

/// What a tag says about its texts. NumberIsMessageId: whether the builder made with a number
/// keeps it as the message id; the job and APS builders drop it and set the flag word to 1.
template <ETextRoute Route, ELogEntryDestination Destination, bool Html, bool NumberIsMessageId>
struct STextTraits
{
    static constexpr ETextRoute k_eRoute = Route;
    static constexpr ELogEntryDestination k_eDestination = Destination;
    static constexpr bool k_bHtml = Html;
    static constexpr bool k_bNumberIsMessageId = NumberIsMessageId;
};

struct TLogF : STextTraits<ETextRoute::Log, Log, false, true>
{
};
struct TLegacyLogF : STextTraits<ETextRoute::Log, LegacyLog, false, true>
{
};
struct TJobLogF : STextTraits<ETextRoute::Log, JobLog, false, false>
{
};
struct TApsLogF : STextTraits<ETextRoute::Log, ApsLog, false, false>
{
};
struct THtmlLogF : STextTraits<ETextRoute::Log, Log, true, true>
{
};
struct THtmlLegacyLogF : STextTraits<ETextRoute::Log, LegacyLog, true, true>
{
};
struct THtmlJobLogF : STextTraits<ETextRoute::Log, JobLog, true, false>
{
};
struct THtmlApsLogF : STextTraits<ETextRoute::Log, ApsLog, true, false>
{
};
struct TPrintF : STextTraits<ETextRoute::Print, Log, false, true>
{
};
struct TTraceF : STextTraits<ETextRoute::Trace, Log, false, true>
{
};

/// A finished text as the output and the message manager route it, whatever builder made it.
struct SFinishedText
{
    /// Applies the arguments; called by the manager that takes the text, so that a text with no
    /// manager alive to take it is never formatted.
    std::function<CString()> m_oText;
    const CString& m_sSecondText;
    unsigned int m_uMessageId;
    ETextRoute m_eRoute;
    ELogEntryDestination m_eDestination;
    bool m_bHtml;
};

/// What the builders need of a COutput, so that they do not depend on its class: handing it a
/// finished text (COutput::Write).
CPPUTIL_API void WriteText(COutput& output, const SFinishedText& text);

/// Collects the arguments of one text and writes it through its COutput when destroyed, at the
/// end of the statement that made it. Builders move but do not copy: one statement, one text.
template <class Tag>
class CTextOutputBase : public CFormatFeederBase<CTextOutputBase<Tag>>
{
    typedef CFormatFeederBase<CTextOutputBase<Tag>> TFeeder;

public:
    CTextOutputBase(COutput* output, const CString& format, const CString& secondText)
        : CTextOutputBase(output, format, secondText, 0, 0)
    {
    }

    /// The builder made with a number: see STextTraits.
    CTextOutputBase(COutput* output, const CString& format, unsigned int number)
        : CTextOutputBase(output, format, CString(), Tag::k_bNumberIsMessageId ? number : 0,
                          Tag::k_bNumberIsMessageId ? 0 : 1)
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
    /// propagating, in which case it is swallowed.
    ~CTextOutputBase() noexcept(false)
    {
        if (!m_poOutput)
            return;
        // Checked here rather than at construction: a builder made inside a destructor that runs
        // during unwinding must not throw into it either.
        if (std::uncaught_exceptions() > 0)
        {
            try
            {
                WriteText(*m_poOutput, Finished());
            }
            catch (...)
            {
            }
            return;
        }
        WriteText(*m_poOutput, Finished());
    }

    COutput* GetOutput() const { return m_poOutput; }
    const CString& GetSecondText() const { return m_sSecondText; }
    unsigned int GetMessageId() const { return m_uMessageId; }
    /// 1 for the job and APS builders made with a number, 0 otherwise.
    unsigned int GetFlags() const { return m_uFlags; }

    /// The text with what its tag says of it.
    SFinishedText Finished() const
    {
        return SFinishedText{[this] { return this->GetString(); },
                             m_sSecondText,
                             m_uMessageId,
                             Tag::k_eRoute,
                             Tag::k_eDestination,
                             Tag::k_bHtml};
    }

private:
    CTextOutputBase(COutput* output, const CString& format, const CString& secondText,
                    unsigned int messageId, unsigned int flags)
        : TFeeder(format), m_poOutput(output), m_sSecondText(secondText), m_uMessageId(messageId),
          m_uFlags(flags)
    {
    }

    CTextOutputBase& ReturnMyself() override { return *this; }

    COutput* m_poOutput;
    CString m_sSecondText;
    unsigned int m_uMessageId;
    unsigned int m_uFlags;
};

} // namespace Text
} // namespace CppUtil
