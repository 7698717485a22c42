// Messages come in the user's language: kelxml's own and, through the host, the component's.
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "KelBasicTypes/utf8.h"
#include "enginetraits.h"

#include "runner.h"

namespace {

using kel::test::kelxml;
using kel::test::KelxmlTest;
using kel::test::RunOptions;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST_F(KelxmlTest, SpeaksTheUsersLanguage) {
    struct Row {
        RunOptions user;
        const char* noVerb;
        std::string malformed;
        const char* help;
        const char* selfTest;
    };
    const std::string malformed = folder_.write("malformed.xml", "<a>\n<b></a>");
    const Row rows[]{
        {{.environment = {"LC_ALL=de_DE.UTF-8", "LANGUAGE="}},
         "kelxml: Fehler: unbekannter Befehl „savve“; war „save“ gemeint?\n",
         malformed + ":2:4: Fehler: Das Endtag „a“ passt nicht zum Starttag „b“.\n",
         "Aufruf: kelxml tree [OPTION...] FILE...\n",
         "ok  ein Dokument durchlaufen und bearbeiten\n"},
        {{.environment = {"LC_ALL=", "LC_MESSAGES=", "LANG=en_US.UTF-8", "LANGUAGE=xx:fr"}},
         "kelxml: erreur : commande inconnue « savve » ; vouliez-vous dire « save » ?\n",
         malformed + ":2:4: erreur : La balise de fin « a » ne correspond pas à la balise de début « b ».\n",
         "Utilisation : kelxml tree [OPTION...] FILE...\n",
         "ok  parcourir et modifier un document\n"},
        {{.environment = {"LC_ALL=", "LC_MESSAGES=ja_JP.UTF-8", "LANG=de_DE.UTF-8", "LANGUAGE="}},
         "kelxml: エラー: 不明なコマンド「savve」です。「save」のことですか？\n",
         malformed + ":2:4: エラー: 終了タグ「a」が開始タグ「b」に対応していません\n",
         "使い方: kelxml tree [OPTION...] FILE...\n",
         "成功  文書をたどって編集する\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.noVerb);
        EXPECT_THAT(kelxml({"savve"}, row.user).errors, StartsWith(row.noVerb));
        if (kel::test::traits::kSaysWhatIsMalformed == nullptr) {
            EXPECT_THAT(kelxml({"tree", malformed}, row.user).errors, HasSubstr(row.malformed));
        }
        EXPECT_THAT(kelxml({"tree", "--help"}, row.user).output, StartsWith(row.help));
        EXPECT_THAT(kelxml({"selftest"}, row.user).output, HasSubstr(row.selfTest));
    }
}

std::size_t columnsOf(const std::string& line) {
    std::size_t columns = 0;
    for (const char16_t unit : kel::fromUtf8(line)) columns += unit >= 0x3000 && unit < 0xFF61 ? 2 : 1;
    return columns;
}

TEST_F(KelxmlTest, HelpFitsATerminalInEveryLanguage) {
    for (const std::string language : {"C.UTF-8", "de", "fr", "ja"}) {
        for (const char* topic : {"check", "tree", "format", "save", "select", "edit", "transform",
                                  "validate", "events", "completion"}) {
            std::istringstream help(kelxml({"help", topic}, {.environment = {"LC_ALL=" + language}}).output);
            for (std::string line; std::getline(help, line);) EXPECT_LE(columnsOf(line), 80U) << line;
        }
    }
}

}  // namespace
