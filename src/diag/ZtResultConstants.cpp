// The constant results. They are made before the static objects of any other file, which may use
// them, and their records stay when they go.
#include <ztlib/ZtResult.h>

// NOLINTBEGIN(cert-err58-cpp): without memory for them, no program can start
[[gnu::init_priority(101)]] const ZtResult ZtOK;
[[gnu::init_priority(101)]] const ZtResult ZtINVALIDARGUMENT(1, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtINTERNALERROR(2, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtNODATA(3, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtNOTSUPPORTED(4, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtREADONLY(5, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtOUTOFRANGE(6, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtNOTIMPLEMENTED(7, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtOUTOFMEMORY(8, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtFALSE(9, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtINTERRUPTED(11, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEPERM(4097, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENOENT(4098, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtESRCH(4099, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEINTR(4100, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEIO(4101, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENXIO(4102, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtE2BIG(4103, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENOEXEC(4104, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEBADF(4105, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtECHILD(4106, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEAGAIN(4107, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENOMEM(4108, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEACCES(4109, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEFAULT(4110, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEBUSY(4112, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEEXIST(4113, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEXDEV(4114, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENODEV(4115, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENOTDIR(4116, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEISDIR(4117, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEINVAL(4118, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENFILE(4119, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEMFILE(4120, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENOTTY(4121, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEFBIG(4123, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENOSPC(4124, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtESPIPE(4125, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEROFS(4126, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEMLINK(4127, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEPIPE(4128, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEDOM(4129, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtERANGE(4130, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEDEADLK(4132, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENAMETOOLONG(4134, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENOLCK(4135, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENOSYS(4136, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtENOTEMPTY(4137, nullptr, nullptr, true);
[[gnu::init_priority(101)]] const ZtResult ZtEILSEQ(4138, nullptr, nullptr, true);
// NOLINTEND(cert-err58-cpp)
