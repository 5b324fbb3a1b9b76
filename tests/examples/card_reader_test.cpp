#include "card_reader.h"

#include <gtest/gtest.h>

namespace uab::vcard {
namespace {

struct Case {
  const char* what;
  const char* lines;
  const char* name;
  const char* fax;
};

TEST(CardReader, ShowsNameAndFaxNumberOfEveryStyle) {
  const Case cases[] = {
      {"folded name", "FN:Ana M\r\n ar\r\n\tia\r\nTEL;TYPE=FAX:1\r\n", "Ana Maria", "1"},
      {"bare types of 2.1", "N:Roe;Jo\nTEL;HOME;FAX:2\n", "Jo Roe", "2"},
      {"quoted list of 4.0", "FN:A\nTEL;TYPE=\"work,fax\";VALUE=uri:tel:+1-555-0100;ext=7\n", "A", "+1-555-0100"},
      {"quoted-printable with a soft break",
       "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BC=\r\nller;J=C3=B6rg\r\nTEL;FAX:3\r\n",
       "J\xC3\xB6rg M\xC3\xBCller", "3"},
      {"a soft break into the end", "FN;QUOTED-PRINTABLE:Jo=20=\r\n", "Jo", ""},
      {"Latin-1 named", "FN;CHARSET=ISO-8859-1:M\xFCller\n", "M\xC3\xBCller", ""},
      {"Latin-1 not named", "FN:M\xFCller\n", "M\xC3\xBCller", ""},
      {"quoted-printable in another character set", "FN;ENCODING=QUOTED-PRINTABLE;CHARSET=WINDOWS-1252:=80\n",
       "\xE2\x82\xAC", ""},
      {"escapes", "FN:Roe\\, Jo\\; \\\\ \\x\n", "Roe, Jo; \\ \\x", ""},
      {"no FN, parts with an escape", "N:O\\;Neil;Pat;Q.;Dr.;MD\n", "Dr. Pat Q. O;Neil MD", ""},
      {"empty FN, organisation", "FN:\nN:;;;;\nORG:Acme;Sales\n", "Acme", ""},
      {"mail address as the last resort but one", "EMAIL:a@example.com\nTEL:5\n", "a@example.com", ""},
      {"group prefix and label", "FN:A\nitem1.TEL:6\nitem2.TEL:7\nitem2.X-ABLabel:_$!<WorkFax>!$_\n", "A", "7"},
      {"business before private", "FN:A\nTEL;TYPE=HOME,FAX:1\nTEL;TYPE=WORK,FAX:2\n", "A", "2"},
      {"preferred before business", "FN:A\nTEL;TYPE=fax;PREF=1:1\nTEL;TYPE=WORK,FAX;PREF=2:2\n", "A", "1"},
      {"preferred of 3.0", "FN:A\nTEL;TYPE=WORK,FAX:1\nTEL;TYPE=FAX,pref:2\n", "A", "2"},
      {"empty number", "FN:A\nTEL;TYPE=FAX:\nTEL;TYPE=FAX:2\n", "A", "2"},
      {"a voice number is no fax number", "FN:A\nTEL;TYPE=VOICE:1\n", "A", ""},
      {"a colon in a quoted parameter", "FN;X-NOTE=\"a:b;c\":A\nTEL;X=\"fax\";TYPE=cell:1\n", "A", ""},
      {"a stray quote", "FN;X=\"a:B\n", "B", ""},
      {"blanks round everything", " \nFN : A \n", "A", ""},
  };
  for (const Case& each : cases) {
    const CardSummary summary = Summarize("BEGIN:VCARD\n" + std::string(each.lines) + "END:VCARD\n");
    EXPECT_EQ(summary.name, each.name) << each.what;
    EXPECT_EQ(summary.fax, each.fax) << each.what;
  }
}

}  // namespace
}  // namespace uab::vcard
