#include "setup/ProductSettings.h"
#include "setup/SettingsStore.h"

#include "support/TestSupport.h"
#include "unit/setup/SettingsFiles.h"

#include <gtest/gtest.h>

using namespace kestra;
using namespace kestra::test;

TEST(ProductSettings, TheServerNameAndTeamOptionsLiveBesideTheScoringProductsValues)
{
    TempDir dir;
    SettingsStore key = SettingsStore::marlowenKey(dir.path());
    TeamResultsSettings team;
    team.TeamID = 0;
    team.readAtCreate(key);
    EXPECT_EQ(ProductSettings::readServerName(key), QString());
    EXPECT_EQ(team.TeamScoresCount + team.TeamScoresAA + team.TeamDesignate, 0);
    EXPECT_EQ(team.TeamID, 3) << "None: the team list starts disabled";

    put(key.filePath(), "; the scoring product's\r\nLastBackup=2024-03-01\r\n[Servers]\r\nNumServers=0\r\n");
    ASSERT_TRUE(ProductSettings::writeServerName(key, QStringLiteral("Arena East")));
    ASSERT_TRUE(TeamResultsSettings::writeTeamScoresCount(key, QStringLiteral(" 4 ")));
    ASSERT_TRUE(TeamResultsSettings::writeTeamScoresAA(key, QStringLiteral("12x")));
    ASSERT_TRUE(TeamResultsSettings::writeTeamDesignate(key, 2));
    ASSERT_TRUE(TeamResultsSettings::writeTeamID(key, 1));
    EXPECT_EQ(ProductSettings::readServerName(key), QStringLiteral("Arena East"));
    team.readAtCreate(key);
    EXPECT_EQ(team.TeamScoresCount, 4);
    EXPECT_EQ(team.TeamScoresAA, 0) << "an edit holding no number is stored as 0";
    EXPECT_EQ(team.TeamDesignate, 2);
    EXPECT_EQ(team.TeamID, 1);
    EXPECT_EQ(contents(key.filePath()), "; the scoring product's\r\nLastBackup=2024-03-01\r\n"
                                        "MarlowenServerName=Arena East\r\n\r\n[Servers]\r\nNumServers=0\r\n\r\n"
                                        "[Custom]\r\nTeamScoresCount=4\r\nTeamScoresAA=0\r\nTeamDesignate=2\r\n"
                                        "TeamID=1\r\n");
}
