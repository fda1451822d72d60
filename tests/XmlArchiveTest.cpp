// CXmlIArchive and CXmlVersioning against documents that Boost's own xml_oarchive wrote. The
// documents are kept in tests/xml-archive/ so that builds without Boost.Serialization (Win32) read
// the same files; where xml_oarchive is at hand, the first test checks that it still writes
// exactly what they hold (CPPUTIL_WRITE_XML_ARCHIVES=1 rewrites them instead).
#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Settings.XmlIArchive.h>
#include <cpputil/CppUtil.Settings.XmlVersioning.h>

#include <gtest/gtest.h>

#if defined(CPPUTIL_HAVE_XML_OARCHIVE)
#include <boost/archive/xml_oarchive.hpp>
#include <boost/serialization/string.hpp>
#endif

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>
#include <string>

using boost::serialization::make_nvp;
using CppUtil::Exception::CQlException;
using CppUtil::Settings::CXmlIArchive;
using CppUtil::Settings::CXmlVersioning;

namespace
{

struct SNozzle
{
    int m_iNumber = 0;
    float m_fOffset = 0.0f;

    template <class Archive>
    void serialize(Archive& archive, const unsigned int version)
    {
        archive& make_nvp("number", m_iNumber);
        if (version >= 1)
            archive& make_nvp("offset", m_fOffset);
    }
};

// Written with a class version newer than SNozzle's.
struct SFutureNozzle
{
    int m_iNumber = 7;

    template <class Archive>
    void serialize(Archive& archive, const unsigned int)
    {
        archive& make_nvp("number", m_iNumber);
    }
};

struct SStation
{
    CXmlVersioning m_oVersioning;
    std::string m_sName = "unnamed";
    SNozzle m_oFirst;
    SNozzle m_oSecond;
    double m_dGain = 1.0; // since version 2

    explicit SStation(unsigned int version) : m_oVersioning(version) {}

    template <class Archive>
    void serialize(Archive& archive, const unsigned int)
    {
        archive& make_nvp("versioning", m_oVersioning) & make_nvp("name", m_sName);
        archive& make_nvp("first", m_oFirst) & make_nvp("second", m_oSecond);
        if (m_oVersioning.GetVersion() >= 2)
            archive& make_nvp("gain", m_dGain);
    }
};

enum EMode
{
    ModeIdle,
    ModeRun = 3
};

// The values document, element by element.
const char* const k_szName = "Line <A&B> \"7\" 'x' \xC3\xA9";

std::string Fixture(const std::string& name)
{
    return std::string(CPPUTIL_XML_ARCHIVES) + "/" + name;
}

std::string Read(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

// The text CXmlIArchive's failure gives, or "" when nothing failed.
std::string Failure(const std::string& file, const std::function<void(CXmlIArchive&)>& load)
{
    try
    {
        CXmlIArchive archive(file.c_str());
        load(archive);
    }
    catch (const CQlException& failure)
    {
        return failure.what();
    }
    return std::string();
}

#if defined(CPPUTIL_HAVE_XML_OARCHIVE)
// What xml_oarchive writes for each kept document.
std::string Written(const std::string& name)
{
    std::ostringstream stream;
    {
        boost::archive::xml_oarchive archive(stream);
        if (name == "values.xml")
        {
            std::string text = k_szName;
            std::string word = "abc";
            int count = -42;
            bool enabled = true;
            double gain = 0.1;
            float offset = 2.5f;
            unsigned char grade = 200;
            EMode mode = ModeRun;
            long long wide = 1LL << 40;
            double huge = 1e300;
            double nan = std::numeric_limits<double>::quiet_NaN();
            SFutureNozzle future;
            archive << make_nvp("name", text) << make_nvp("word", word) << make_nvp("count", count)
                    << make_nvp("enabled", enabled) << make_nvp("gain", gain)
                    << make_nvp("offset", offset) << make_nvp("grade", grade)
                    << make_nvp("mode", mode) << make_nvp("wide", wide) << make_nvp("huge", huge)
                    << make_nvp("nan", nan) << make_nvp("future", future);
        }
        else
        {
            SStation station(static_cast<unsigned int>(name[9] - '0'));
            station.m_sName = "Station " + name.substr(9, 1);
            station.m_oFirst = SNozzle{1, 0.25f};
            station.m_oSecond = SNozzle{2, -0.5f};
            station.m_dGain = 2.75;
            archive << make_nvp("station", station);
        }
    }
    return stream.str();
}
#endif

const char* const k_aszFixtures[] = {"values.xml", "station-v1.xml", "station-v2.xml",
                                     "station-v3.xml"};

} // namespace

BOOST_CLASS_VERSION(SNozzle, 1)
BOOST_CLASS_VERSION(SFutureNozzle, 9)

#if defined(CPPUTIL_HAVE_XML_OARCHIVE)
TEST(XmlArchiveTest, KeptDocumentsAreWhatXmlOArchiveWrites)
{
    const bool rewrite = std::getenv("CPPUTIL_WRITE_XML_ARCHIVES") != nullptr;
    for (const char* name : k_aszFixtures)
    {
        if (rewrite)
            std::ofstream(Fixture(name), std::ios::binary) << Written(name);
        EXPECT_EQ(Written(name), Read(Fixture(name))) << name;
    }
}
#endif

TEST(XmlArchiveTest, LoadsValuesAndObjects)
{
    CXmlIArchive values(Fixture("values.xml").c_str());
    CString name;
    int count = 0;
    bool enabled = false;
    double gain = 0.0;
    float offset = 0.0f;
    unsigned char grade = 0;
    EMode mode = ModeIdle;
    long long wide = 0;
    double nan = 0.0;
    // In another order than written: elements are found by name.
    values >> make_nvp("count", count) >> make_nvp("name", name) >> make_nvp("enabled", enabled);
    values& make_nvp("gain", gain) & make_nvp("offset", offset) & make_nvp("grade", grade);
    values >> make_nvp("nan", nan) >> make_nvp("wide", wide) >> make_nvp("mode", mode);
    EXPECT_EQ(CString(k_szName), name);
    EXPECT_EQ(-42, count);
    EXPECT_TRUE(enabled);
    EXPECT_EQ(0.1, gain);
    EXPECT_EQ(2.5f, offset);
    EXPECT_EQ(200, grade);
    EXPECT_EQ(ModeRun, mode);
    EXPECT_EQ(1LL << 40, wide);
    EXPECT_TRUE(std::isnan(nan));

    // The second nozzle's element has no class attributes: it takes the first one's version.
    SStation station(2);
    CXmlIArchive(Fixture("station-v2.xml").c_str()) >> make_nvp("station", station);
    EXPECT_EQ(2u, station.m_oVersioning.GetVersion());
    EXPECT_EQ("Station 2", station.m_sName);
    EXPECT_EQ(1, station.m_oFirst.m_iNumber);
    EXPECT_EQ(0.25f, station.m_oFirst.m_fOffset);
    EXPECT_EQ(2, station.m_oSecond.m_iNumber);
    EXPECT_EQ(-0.5f, station.m_oSecond.m_fOffset);
    EXPECT_EQ(2.75, station.m_dGain);
}

TEST(XmlArchiveTest, OlderDocumentKeepsDefaultsNewerIsRefused)
{
    SStation older(2);
    CXmlIArchive(Fixture("station-v1.xml").c_str()) >> make_nvp("station", older);
    EXPECT_EQ(1u, older.m_oVersioning.GetVersion());
    EXPECT_EQ(2u, older.m_oVersioning.GetSupportedVersion());
    EXPECT_EQ("Station 1", older.m_sName);
    EXPECT_EQ(2, older.m_oSecond.m_iNumber);
    EXPECT_EQ(1.0, older.m_dGain);

    SStation newer(2);
    const std::string file = Fixture("station-v3.xml");
    EXPECT_EQ(
        "The settings file \"" + file +
            "\", element \"station/versioning\": the document has version 3, newer than "
            "version 2, the newest this program reads.",
        Failure(file, [&newer](CXmlIArchive& archive) { archive >> make_nvp("station", newer); }));
    EXPECT_EQ("unnamed", newer.m_sName);
}

TEST(XmlArchiveTest, MissingElementsAndValuesThatDoNotFit)
{
    const std::string file = Fixture("values.xml");
    const std::string prefix = "The settings file \"" + file + "\"";
    const auto load = [&file](const char* name, auto value)
    { return Failure(file, [&](CXmlIArchive& archive) { archive >> make_nvp(name, value); }); };
    EXPECT_EQ(prefix + " has no element \"colour\".", load("colour", 0));
    EXPECT_EQ(prefix + ", element \"word\": \"abc\" is not a whole number from -2147483648 to "
                       "2147483647.",
              load("word", 0));
    EXPECT_EQ(prefix + ", element \"nan\": \"nan\" is not a whole number from -2147483648 to "
                       "2147483647.",
              load("nan", 0));
    EXPECT_EQ(prefix + ", element \"wide\": \"1099511627776\" is not a whole number from "
                       "-2147483648 to 2147483647.",
              load("wide", 0));
    EXPECT_EQ(prefix + ", element \"grade\": \"200\" is not a whole number from -128 to 127.",
              load("grade", static_cast<signed char>(0)));
    EXPECT_EQ(prefix + ", element \"count\": \"-42\" is not a whole number from 0 to 4294967295.",
              load("count", 0u));
    EXPECT_EQ(prefix + ", element \"huge\": \"1.00000000000000005e+300\" is not a number within "
                       "the range of a float.",
              load("huge", 0.0f));
    EXPECT_EQ(prefix + ", element \"name\": \"" + k_szName + "\" is not a truth value (0 or 1).",
              load("name", false));
    EXPECT_EQ(prefix + ", element \"future\": its class version 9 is newer than 1, the newest "
                       "this program reads.",
              load("future", SNozzle()));
}

TEST(XmlArchiveTest, BadFiles)
{
    const std::filesystem::path dir =
        std::filesystem::temp_directory_path() / "cpputil-xml-archive-test";
    std::filesystem::create_directories(dir);
    const auto failure = [&dir](const char* name, const std::string& content)
    {
        const std::string file = (dir / name).string();
        std::ofstream(file, std::ios::binary) << content;
        SStation station(2);
        return Failure(file, [&station](CXmlIArchive& archive)
                       { archive >> make_nvp("station", station); });
    };
    const std::string station = Read(Fixture("station-v2.xml"));
    const std::string root = station.substr(0, station.find("<station"));

    EXPECT_EQ("The settings file \"" + (dir / "cut.xml").string() +
                  "\" is not well-formed XML: unexpected end of data (line 14).",
              failure("cut.xml", station.substr(0, station.find("<number>2"))));
    EXPECT_EQ("The settings file \"" + (dir / "plain.xml").string() +
                  "\" is not a serialization archive: its root is not a boost_serialization "
                  "element with signature \"serialization::archive\".",
              failure("plain.xml", "<station><name>x</name></station>"));
    EXPECT_EQ("The settings file \"" + (dir / "empty.xml").string() +
                  "\" is not a serialization archive: its root is not a boost_serialization "
                  "element with signature \"serialization::archive\".",
              failure("empty.xml", ""));
    EXPECT_EQ("Cannot open the settings file \"" + dir.string() + "\".",
              Failure(dir.string(), [](CXmlIArchive&) {}));
    std::string deep = root;
    for (int i = 0; i < 1000; ++i)
        deep += "<station>";
    EXPECT_EQ("The settings file \"" + (dir / "deep.xml").string() +
                  "\" nests elements more than 100 deep.",
              failure("deep.xml", deep));
    // Inside objects the path says where; a value where an object belongs lacks its elements.
    std::string letters = station;
    letters.replace(letters.find("<number>2</number>"), 18, "<number>2x</number>");
    EXPECT_EQ("The settings file \"" + (dir / "letters.xml").string() +
                  "\", element \"station/second/number\": \"2x\" is not a whole number from "
                  "-2147483648 to 2147483647.",
              failure("letters.xml", letters));
    EXPECT_EQ("The settings file \"" + (dir / "flat.xml").string() +
                  "\" has no element \"station/versioning\".",
              failure("flat.xml", root + "<station>2</station></boost_serialization>"));
    // With the folder gone, nothing is written either.
    std::filesystem::remove_all(dir);
    EXPECT_EQ("Cannot open the settings file \"" + (dir / "cut.xml").string() + "\".",
              failure("cut.xml", ""));
}
