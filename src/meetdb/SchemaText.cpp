// The data dictionary of the meet database, version 5.10.5.0, as compact text.
//
// One block a table, tables in dictionary order. Field lists use the types
// text(n), longtext(n), int8, int16, int32, uint32, autoinc, autoinc(start,step),
// float32, bool, date, time, datetime, currency, memo, blob, and "required".
// Braces generate families, the leftmost brace being the outer loop:
// E{1-6}{S{1-7},Adj,Final} is E1S1 ... E1S7, E1Adj, E1Final, E2S1, ...
// "ci" marks a case-insensitive index column. A reference lists its rules:
// "exists" (the parent must exist), "delete cascade|block", "update cascade".

namespace kestra::schematext {

extern const char *const dictionary;
const char *const dictionary = R"dict(
table Category
  fields Category text(30) required, Type text(1), Include bool
  primary Category
  index byCategory: Category ci

table Countries
  fields Country text(3) required, FullCountry text(50)
  primary Country

table DBVersion
  fields Version uint32

table EmailTemplates
  fields Name text(40) required, Message memo
  primary Name

table Events
  fields EventID int32 required, Group text(10), Level_Name text(6), Event{1-6} text(6), NumEvents int16
  fields Ev{1-6}ScoreIDs text(200), Ev{1-6}KeypadIDs longtext(1000), TwoScore int16
  fields AlphaID1 text(2), AlphaID2 text(2), AlphaRow1 int16, AlphaCol1 int16, AlphaRow2 int16, AlphaCol2 int16
  fields GridLayoutFile text(80), AlphaHeight1 int16, AlphaWidth1 int16, AlphaHeight2 int16, AlphaWidth2 int16
  fields NCAAScores int16, Ev{1-6}MiniIDs text(200), Ev{1-6}Short text(2), HighScoreLimit float32
  fields LowScoreLimit float32, AlphaIPAddress1 text(15), Event{1-6}Icon blob
  primary EventID
  index byGroup: Group ci

table Gyms
  fields GymID int32 required, "Official Name" text(40), "Short Name" text(20), Address1 text(40)
  fields Address2 text(40), City text(20), State text(2), Zip text(10), Phone text(14), Fax text(14)
  fields Contact text(30), Contact_Phone text(14), ClubNum text(8), Email text(255), WebURL text(40)
  fields Women bool, Men bool, Rythmic bool, Acro bool, TNT bool, MyGym bool, Zone int16
  primary GymID
  index byOfficialName: "Official Name" ci
  index byShortName: "Short Name" ci

table Coaches
  fields CoachID int32 required, GymID int32, FirstName text(20), LastName text(25), Address text(40)
  fields City text(20), State text(2), Zip text(10), Phone text(14), Fax text(14), ProNumber text(8)
  fields ProExpire date, SafetyExpire date, Email text(255), BackExpire date, U100 bool
  primary CoachID
  index byLastName: LastName ci, FirstName ci
  index byFirstName: FirstName ci, LastName ci
  index byGymLastFirst: GymID, LastName ci, FirstName ci
  index GymID: GymID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Gyms: GymID
  ref GymID -> Gyms(GymID) exists delete block update cascade

table Host
  fields Name text(40), Address1 text(40), Address2 text(40), City text(20), State text(2), Zip text(10)
  fields Phone text(14), Fax text(14), Director text(40), Coordinator text(40), EnableScoreboards bool
  fields LastMeet int32, RenumField{1-5} int16, RenumSort{1-5} text(1), RenumBreak{1-5} bool
  fields RenumStart int16, RenumBreak{1-3}Goto int16, RenumUseLevel bool, ShadingLevel int16
  fields CheckEvents bool, TieBreak text(1), SessTime{1-4} text(12), ProNumber text(8), AverageAll bool
  fields EmailFrom text(40), EmailName text(40), EmailSMTPServer text(40), EmailSMTPPort int16
  fields EmailSMTPAuth bool, EmailUserID text(80), EmailPassword text(40), EmailUseSSL bool
  fields LogEmail bool, PercentChoice int8, FillTeam{1-3} bool, Team{1-3} text(3)

table JudgeDuties
  fields Duty text(20) required
  primary Duty

table Judges
  fields JudgeID int32 required, Address text(40), City text(20), State text(2), Zip text(10)
  fields Phone text(14), Fax text(14), FirstName text(20), LastName text(25), Women bool, Men bool
  fields Rythmic bool, Acro bool, TNT bool, {W,M,R,A,T}Rating text(10), ProNumber text(8)
  fields ProExpire date, SafetyExpire date, Email text(255), Country text(3), BackExpire date, U100 bool
  primary JudgeID
  index byLastName: LastName ci, FirstName ci
  index byFirstName: FirstName ci, LastName ci

table Labels
  fields ID text(4) required, Desc text(20), NumAcross int16, NumDown int16
  fields LabelHeight float32, Height{Whole,Numerator,Denominator} int16
  fields LabelWidth float32, Width{Whole,Numerator,Denominator} int16
  fields TopMargin float32, Top{Whole,Numerator,Denominator} int16
  fields SideMargin float32, Side{Whole,Numerator,Denominator} int16
  fields HorizontalPitch float32, Horizontal{Whole,Numerator,Denominator} int16
  fields VerticalPitch float32, Vertical{Whole,Numerator,Denominator} int16, Landscape bool
  primary ID

table LabelSetup
  fields LabelType int16 required, LabelID text(4), LabelFont text(32), LabelSize1 int16
  fields LabelSize2 int16, LabelVAdj int16, LabelHAdj int16
  primary LabelType

table Levels
  fields EventID int32 required, Level text(3) required, TAMethod text(1), TAMethodAA text(1)
  fields Color int32, LevelSort text(9), AgeDate date, StartingNum int16, UseDBonus bool, UseJNBonus bool
  primary EventID, Level
  index xLevelSort: EventID, LevelSort ci
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Events: EventID
  ref EventID -> Events(EventID) exists delete cascade update cascade

table JNBonus
  fields EventID int32 required, Level text(3) required, LevelSort text(9), ER{1-4} float32
  fields E{1-4} float32, E{1-6}{R{1-4},D{1-4}} float32
  unique xEventLevel: EventID, Level
  index xLevelSort: EventID, LevelSort ci
  index xEventID: EventID
  ref EventID -> Events(EventID) exists delete cascade update cascade
  ref EventID, Level -> Levels(EventID, Level) exists delete cascade update cascade

table DefAges
  fields EventID int32 required, Level text(3) required, AgeID int32 required, Name text(10)
  fields Low_Age int16, High_Age int16, Start_Date date, End_Date date, Use_Dates bool
  primary EventID, Level, AgeID
  index EventID: EventID
  index xEventLevel: EventID, Level
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Events: EventID
  ref EventID -> Events(EventID) exists delete cascade update cascade
  ref EventID, Level -> Levels(EventID, Level) exists delete cascade update cascade

table DBonus
  # Curve1 carries a size of 10 in the dictionary, which means nothing for a float.
  fields EventID int32 required, Level text(3) required, Base{1-6} float32, Factor{1-6} float32
  fields LevelSort text(9), Curve{1-6} float32
  unique xEventLevel: EventID, Level
  index xLevelSort: EventID, LevelSort ci
  index xEventID: EventID
  ref EventID -> Events(EventID) exists delete cascade update cascade
  ref EventID, Level -> Levels(EventID, Level) exists delete cascade update cascade

table Meets
  fields MeetID int32 required, Name text(40), Facility text(40), Address1 text(40), Address2 text(40)
  fields City text(20), State text(2), Zip text(10), Phone text(14), Fax text(14), Start_Date date
  fields End_Date date, Director text(40), UseAgeDiv bool, Num_Judges int16, Def_EventID int32
  fields ProNumber text(8), Sanction text(8), MSOEventID int32, MSOMeetID int32, MSOPassword text(10)
  fields ScoreMethod int16, BannerImage blob, Comp{1-4} bool, InternationalStyle bool, LockRenumber bool
  fields GUID text(38), Email text(80), SanctionKey text(10), RTNMeetID int32, RTNPassword text(10)
  fields MeetCode text(6), NCAAMode bool, SanctionOrg text(6), UseDBonus bool, UseJNBonus bool
  fields LeftImage blob, RightImage blob, ScoreCatAPIKey text(20), ScoreCatMeetID text(8)
  primary MeetID
  index Def_EventID: Def_EventID
  ref Def_EventID -> Events(EventID) exists delete block update cascade

table Gymnasts
  fields MeetID int32 required, Num int16 required, First_Name text(20), Last_Name text(25)
  fields Level text(3), Birthday date, USAG text(8), Session text(3), Gym int32, Team{1-3} text(3)
  fields TSize text(2), Scratched bool, Events int32, USCitizen bool, Squad text(1), Order int16
  fields Hometown text(40), Country text(3), State text(2), Flight text(1), AltID text(15)
  fields Phonetic text(25)
  fields E{1-6}{S{1-7},Adj,Final} float32
  fields E7{S{1-7},Adj,AAFinal} float32
  fields AAAdj float32, AA float32
  fields E{1-6}Flag bool, AAFlag bool
  fields E{1-6}Order int16
  fields E{1-7}Start float32, MSOUpdate bool, E{1-7}BScore float32, USAGVerified bool
  fields E{1-7}Hold int16, E{1-7}Cover int16
  fields E{1-7}SelectTime datetime, E{1-7}HoldTime datetime, E{1-7}ReadyTime datetime
  fields E{1-7}StartTime datetime, E{1-7}StopTime datetime, E{1-7}SaveTime datetime
  fields E{1-7}Status text(8), E{1-7}DBonus float32, TwoAttempts bool, E{1-7}EBonus float32
  primary MeetID, Num
  index bySquadOrder: MeetID, Squad ci, Order
  index byFirst: MeetID, First_Name ci
  index GymLink: MeetID, Gym
  index byLast: MeetID, Last_Name ci
  index Events: Events
  index Gym: Gym
  index byLastFirst: Last_Name ci, First_Name ci
  index xEventLevel: Events, Level
  index xUSAG: USAG ci
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Gyms: Gym
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#1$Events: Events
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#2$Meets: MeetID
  ref Events -> Events(EventID) exists delete block update cascade
  ref Gym -> Gyms(GymID) exists delete block update cascade
  ref Events, Level -> Levels(EventID, Level) exists delete block update cascade
  ref MeetID -> Meets(MeetID) exists delete block update cascade

table CoachAttend
  fields MeetID int32 required, CoachID int32 required, USAGVerified bool
  primary MeetID, CoachID
  index CoachID: CoachID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Coaches: CoachID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#1$Meets: MeetID
  ref CoachID -> Coaches(CoachID) exists delete block update cascade
  ref MeetID -> Meets(MeetID) exists delete block update cascade

table Budgets
  fields MeetID int32 required, Category text(30) required, Budget currency
  primary MeetID, Category
  index Category: Category ci
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Category: Category
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#1$Meets: MeetID
  ref Category -> Category(Category) exists delete block update cascade
  ref MeetID -> Meets(MeetID) exists delete block update cascade

table Attend
  fields MeetID int32 required, GymID int32 required, Short_Name text(20), Reg_Rcvd bool
  fields TSize_{CS,CM,CL,CX,AS,AM,AL,AX} int16, Comment text(40), TSize_{XS,2X,3X} int16
  fields AutoCalc bool, AddTSize_{XS,CS,CM,CL,CX,AS,AM,AL,AX,2X,3X} int16, SquadOrder text(255)
  fields TeamND float32, Email text(255)
  primary MeetID, GymID
  index MeetIDName: MeetID, Short_Name ci
  index GymID: GymID
  index MeetID: MeetID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Gyms: GymID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#1$Meets: MeetID
  ref GymID -> Gyms(GymID) exists delete block update cascade
  ref MeetID -> Meets(MeetID) exists delete block update cascade

table AgeGrp
  fields EventID int32 required, Level text(3) required, MeetID int32 required, AgeID int32 required
  fields Name text(10), Low_Age int16, High_Age int16, Start_Date date, End_Date date, Use_Dates bool
  primary EventID, Level, MeetID, AgeID
  index byEventLevelLow: EventID, Level ci, Low_Age
  index MeetID: MeetID
  index EventID: EventID
  index xEventLevel: EventID, Level
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Events: EventID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#1$Meets: MeetID
  ref EventID -> Events(EventID) exists delete block update cascade
  ref EventID, Level -> Levels(EventID, Level) exists delete cascade update cascade
  ref MeetID -> Meets(MeetID) exists delete block update cascade

table AgeDate
  fields EventID int32 required, Level text(3) required, MeetID int32 required, Age_Date date
  fields LevelSort text(9)
  primary EventID, Level, MeetID
  index MeetID: MeetID
  index xLevelSort: EventID, LevelSort ci, MeetID
  index xEventLevel: EventID, Level
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Events: EventID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#1$Meets: MeetID
  ref EventID -> Events(EventID) exists delete block update cascade
  ref EventID, Level -> Levels(EventID, Level) exists delete cascade update cascade
  ref EventID, LevelSort -> Levels(EventID, LevelSort) update cascade
  ref MeetID -> Meets(MeetID) exists delete block update cascade

table NextID
  fields MeetID int32, GymID int32, JudgeID int32, EventID int32, AgeID int32, TransID int32, CoachID int32

table PartAwrd
  fields EventID int32 required, EventColor{1-6} text(10), EventLow{1-6} float32, EventHigh{1-6} float32
  fields AAColor{1-6} text(10), AALow{1-6} float32, AAHigh{1-6} float32
  unique xEventID: EventID
  ref EventID -> Events(EventID) exists delete cascade update cascade

table Renumber
  fields MeetID int32 required, Num int16 required, First_Name text(20), Last_Name text(25)
  fields Level text(3), Birthday date, USAG text(7), Session text(3), Gym int32, Team{1-3} text(3)
  fields TSize text(2), Events int32, Squad text(1), Age int16, "Age Division" text(10), Order int16
  primary MeetID, Num

table ReportQueue
  fields RecID autoinc, MeetID int32, Queue longtext(400), RptType int16, Marked bool
  fields Option longtext(1024), Title text(80), RptOrder int16
  primary RecID
  index Queue: MeetID, Queue ci
  index QueueOrder: MeetID, RptOrder
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Meets: MeetID
  ref MeetID -> Meets(MeetID) exists delete cascade update cascade

table Roster
  fields RecID autoinc, First_Name text(20), Last_Name text(25), Level text(3), Birthday date
  fields USAG text(8), TSize text(2), Events int32, USCitizen bool, Hometown text(40), Country text(3)
  fields State text(2), AltID text(15), Phonetic text(25), E{1-6}Flag bool, AAFlag bool
  primary RecID
  index byFirst: First_Name ci
  index byLast: Last_Name ci
  index Events: Events
  index xEventLevel: Events, Level
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Events: Events
  ref Events -> Events(EventID) exists delete block update cascade
  ref Events, Level -> Levels(EventID, Level) exists delete block update cascade

table Rotations
  fields RotationID autoinc(10,1), EventID int32 required, Name text(40), NumSquads int16
  fields NumByes int16, Squad{1-9} text(9)
  primary RotationID
  index EventID: EventID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Events: EventID
  ref EventID -> Events(EventID) exists delete cascade update cascade

table ScoreApps
  fields AppID autoinc, AppName longtext(25)
  primary AppID

table ScoreQueue
  fields DataID autoinc, MeetID int32 required, EventID int32 required, Event int16 required
  fields Session text(3) required, DT datetime required, Num int16, Level text(3), Score float32
  fields Changed bool, FName text(20), LName text(25), Judge{1-7} float32, Adjust float32
  fields Start float32, BScore float32, DBonus float32, EBonus float32
  primary DataID
  index byMeetGroupEventSess: MeetID, EventID, Event, Session ci, DT
  index byDT: DT
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Meets: MeetID
  ref MeetID -> Meets(MeetID) exists delete cascade update cascade

table QueueDone
  fields AppID int32 required, DataID int32 required
  primary AppID, DataID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$ScoreQueue: DataID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$ScoreApps: AppID
  ref AppID -> ScoreApps(AppID) exists delete cascade update cascade
  ref DataID -> ScoreQueue(DataID) exists delete cascade update cascade

table SessAgeGrp
  fields EventID int32 required, Level text(3) required, MeetID int32 required
  fields Session text(3) required, AgeID int32 required, Name text(10), Low_Age int16
  fields High_Age int16, Start_Date date, End_Date date, Use_Dates bool
  primary EventID, Level, MeetID, Session, AgeID
  index byEventLevelLow: EventID, Level ci, Low_Age
  index MeetID: MeetID
  index xEventLevel: EventID, Level
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Events: EventID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#1$Meets: MeetID
  ref EventID -> Events(EventID) exists delete block update cascade
  ref EventID, Level -> Levels(EventID, Level) exists delete cascade update cascade
  ref MeetID -> Meets(MeetID) exists delete block update cascade

table Sessions
  fields MeetID int32 required, Session text(3) required, Desc text(20), SDate date
  fields Open_Warmup time, Timed_Warmup time, March_In time, Awards time, EventID int32
  fields NumFlights int8, RotationID int32
  primary MeetID, Session
  index EventID: EventID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Events: EventID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#1$Meets: MeetID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Rotations: RotationID
  ref EventID -> Events(EventID) exists delete block update cascade
  ref MeetID -> Meets(MeetID) exists delete block update cascade
  ref RotationID -> Rotations(RotationID) exists delete block update cascade

table JudgePanels
  fields MeetID int32 required, Session text(3) required, EventNum int8 required
  fields JudgeID int32 required, Duty text(20), USAGVerified bool
  primary MeetID, Session ci, EventNum, JudgeID
  index xMeets: MeetID
  index xSessions: MeetID, Session
  index xJudges: JudgeID
  index byDuty: MeetID, Session ci, EventNum, Duty ci
  ref JudgeID -> Judges(JudgeID) exists delete cascade update cascade
  ref MeetID -> Meets(MeetID) exists delete cascade update cascade
  ref MeetID, Session -> Sessions(MeetID, Session) exists delete cascade update cascade

table States
  fields State text(2) required, FullState text(20), APState text(20)
  primary State

table Transact
  fields RecNo int32 required, MeetID int32, Date date, Account int32, Category text(30)
  fields Amount currency, Memo text(40), RefAccount int32, RefRecNo int32
  primary RecNo
  index byMeetDateRecno: MeetID, Date, RecNo
  index Category: Category ci
  index MeetID: MeetID
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#0$Category: Category
  fkindex $SQL$FOREIGNKEY$DETAIL$INDEX#1$Meets: MeetID
  ref Category -> Category(Category) exists delete block update cascade
  ref MeetID -> Meets(MeetID) exists delete block update cascade

table Triggers
  fields RecID autoinc, MeetID int32, TimeStamp datetime, TrigerType int16, CompNum int16
  fields EventNum int16, Rotation int16
  primary RecID
  index xStamp: MeetID, TimeStamp
)dict";

} // namespace kestra::schematext
