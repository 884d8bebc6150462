// The exported feature codes. Nothing in the library reads them: they exist
// for hosts, which pass them back to the tracking functions.
//
// A CFString is an object that ZpCoreFoundation makes at run time, so every
// valued code is assigned by a dynamic initialiser of its own, in the order
// below. ZpCoreFoundation is a dependency of this library and is initialised
// first; all of these have run before the loader returns, hence before any
// host code can read them. __CFStringMakeConstantString cannot fail and its
// strings are never freed, so there is nothing to undo at unload.
//
// The texts are the analytics vocabulary already in use. Keep them exactly,
// including the two one-dot codes that the tracking check refuses.

#include "ZpAnalyticsFeatureCodes.h"

extern "C" {

CFStringRef kZpAnalyticsUserPlusMemberYes = __CFStringMakeConstantString("Application.Plus Member.Yes");
CFStringRef kZpAnalyticsUserPlusMemberNo = __CFStringMakeConstantString("Application.Plus Member.No");
CFStringRef kZpAnalyticsLayersModule = __CFStringMakeConstantString("Application.Module.Layers");
CFStringRef kZpAnalyticsEffectsModule = __CFStringMakeConstantString("Application.Module.Effects");
CFStringRef kZpAnalyticsResizeModule = __CFStringMakeConstantString("Application.Module.Resize");
CFStringRef kZpAnalyticsBrowseModule = __CFStringMakeConstantString("Application.Module.Browse");
CFStringRef kZpAnalyticsDevelopModule = __CFStringMakeConstantString("Application.Module.Develop");
CFStringRef kZpAnalyticsFilterTesterModule = __CFStringMakeConstantString("Application.Module.Filter Tester");
CFStringRef kZpAnalyticsStandaloneLaunched = __CFStringMakeConstantString("Application.Launched.Standalone");
CFStringRef kZpAnalyticsAppStoreLaunched = __CFStringMakeConstantString("Application.Launched.AppStore");
CFStringRef kZpAnalyticsPhotoshopLaunched = __CFStringMakeConstantString("Application.Launched.Photoshop");
CFStringRef kZpAnalyticsLightroomLaunched = __CFStringMakeConstantString("Application.Launched.Lightroom");
CFStringRef kZpAnalyticsPhotosLaunched = __CFStringMakeConstantString("Application.Launched.Photos");
CFStringRef kZpAnalyticsAffinityPhotoLaunched = __CFStringMakeConstantString("Application.Launched.AffinityPhoto");
CFStringRef kZpAnalyticsCorelPaintLaunched = __CFStringMakeConstantString("Application.Launched.CorelPaint");
CFStringRef kZpAnalyticsCaptureOneLaunched = __CFStringMakeConstantString("Application.Launched.CaptureOne");
CFStringRef kZpAnalyticsInvalidLaunched = __CFStringMakeConstantString("Application.Launched.Invalid");
CFStringRef kZpAnalyticsShutdownTime = __CFStringMakeConstantString("Application Shutdown Time");
CFStringRef kZpAnalyticsSmugMugOpen = __CFStringMakeConstantString("SmugMug.Dialog.Open");
CFStringRef kZpAnalyticsSmugMugPublishCount = __CFStringMakeConstantString("SmugMug.Publish.Count");
CFStringRef kZpAnalyticsSmugMugPublish = __CFStringMakeConstantString("SmugMug.Publish.Perform");
CFStringRef kZpAnalyticsLoadedImageUsingLibRaw = __CFStringMakeConstantString("Loaded Image Using LibRaw");
CFStringRef kZpAnalyticsLoadedImageUsingAdobeDNG = __CFStringMakeConstantString("Loaded Image Using Adobe DNG");
CFStringRef kZpAnalyticsUserInitiatedWelcomeDialog = __CFStringMakeConstantString("Welcome Dialog User Initiated");
CFStringRef kZpAnalyticsWelcomeDialogAutomatic = __CFStringMakeConstantString("Welcome Dialog Automatic");
CFStringRef kZpAnalyticsBrowseOpenZephraSyncBeta = __CFStringMakeConstantString("ZephraSyncBetaClick");
CFStringRef kZpAnalyticsBrowseRecoverDatabase = __CFStringMakeConstantString("Browse.RecoveredDatabase");
CFStringRef kZpAnalyticsBrowseRecoverNdDatabase = __CFStringMakeConstantString("Browse.RecoveredNdDatabase");
CFStringRef kZpAnalyticsBrowseDetailViewSession = __CFStringMakeConstantString("DetailView Session");
CFStringRef kZpAnalyticsBrowseCompareViewSession = __CFStringMakeConstantString("CompareView Session");
CFStringRef kZpAnalyticsBrowseSearchCatalogedFolders = __CFStringMakeConstantString("Search Cataloged Folders");
CFStringRef kZpAnalyticsBrowseShowSubFolders = __CFStringMakeConstantString("Show Sub-Folders");
CFStringRef kZpAnalyticsBrowseRootCatalogedFolderCount = __CFStringMakeConstantString("Top Level Cataloged Folder Count");
CFStringRef kZpAnalyticsBrowseCatalogedFolderCount = __CFStringMakeConstantString("Cataloged Folder Count");
CFStringRef kZpAnalyticsBrowseAddCatalogedFolder = __CFStringMakeConstantString("Add Cataloged Folder");
CFStringRef kZpAnalyticsBrowseCatalogedPhotoCount = __CFStringMakeConstantString("Cataloged Photo Count");
CFStringRef kZpAnalyticsBrowseReadMetadataFromPhoto = __CFStringMakeConstantString("Read Metadata From Photo");
CFStringRef kZpAnalyticsKeywordsActionEdit = __CFStringMakeConstantString("Edit Keyword");
CFStringRef kZpAnalyticsKeywordsActionAdd = __CFStringMakeConstantString("Create Keywords");
CFStringRef kZpAnalyticsKeywordsActionRemove = __CFStringMakeConstantString("Delete Keywords");
CFStringRef kZpAnalyticsKeywordsCountFormat = __CFStringMakeConstantString("Keywords.Count.%d");
CFStringRef kZpAnalyticsKeywordsCount = __CFStringMakeConstantString("MKL Keyword Count");
CFStringRef kZpAnalyticsBrowseMapView = __CFStringMakeConstantString("Map View Location");
CFStringRef kZpAnalyticsBrowseMapViewCacheHit = __CFStringMakeConstantString("Map View Cache Hit");
CFStringRef kZpAnalyticsBrowseMapViewPhotoCount = __CFStringMakeConstantString("Map View Photo Count");
CFStringRef kZpAnalyticsBrowseMapViewSession = __CFStringMakeConstantString("Map View Session");
CFStringRef kZpAnalyticsBrowseLocationLookup = __CFStringMakeConstantString("Location Lookup");
CFStringRef kZpAnalyticsBrowseOpenAddToCatalog = __CFStringMakeConstantString("Open Add to Catalog");
CFStringRef kZpAnalyticsBrowseRunAddToCatalog = __CFStringMakeConstantString("Run Add to Catalog");
CFStringRef kZpAnalyticsPanoOpen = __CFStringMakeConstantString("Pano.Action.Open");
CFStringRef kZpAnalyticsPanoMerge = __CFStringMakeConstantString("Pano.Action.Merge");
CFStringRef kZpAnalyticsPanoCountFormat = __CFStringMakeConstantString("Pano.Count.%d");
CFStringRef kZpAnalyticsPanoMergeTime = __CFStringMakeConstantString("Pano Merge Time");
CFStringRef kZpAnalyticsPanoErrorFormat = __CFStringMakeConstantString("Pano.Error.%@");
CFStringRef kZpAnalyticsPanoProxyErrorFormat = __CFStringMakeConstantString("Pano.Proxy Error.%@");
CFStringRef kZpAnalyticsHDROpen = __CFStringMakeConstantString("HDR.Action.Open");
CFStringRef kZpAnalyticsHDRMerge = __CFStringMakeConstantString("HDR.Action.Merge");
CFStringRef kZpAnalyticsHDRMergeCountFormat = __CFStringMakeConstantString("HDR.Count.%d");
CFStringRef kZpAnalyticsHDRMergeTime = __CFStringMakeConstantString("HDR Merge Time");
CFStringRef kZpAnalyticsHDRErrorFormat = __CFStringMakeConstantString("HDR.Error.%d");
CFStringRef kZpAnalyticsFocusStackOpen = __CFStringMakeConstantString("FocusStack.Action.Open");
CFStringRef kZpAnalyticsFocusStackMerge = __CFStringMakeConstantString("FocusStack.Action.Merge");
CFStringRef kZpAnalyticsFocusStackMergeCountFormat = __CFStringMakeConstantString("FocusStack.Count.%d");
CFStringRef kZpAnalyticsFocusStackMergeTime = __CFStringMakeConstantString("Focus Stack Merge Time");
CFStringRef kZpAnalyticsFocusStackErrorFormat = __CFStringMakeConstantString("FocusStack.Error.%d");
CFStringRef kZpAnalyticsTetherShootTakePicture = __CFStringMakeConstantString("Tethered Shooting");
CFStringRef kZpAnalyticsImportActionOpen = __CFStringMakeConstantString("Import.Action.Open");
CFStringRef kZpAnalyticsImportActionImport = __CFStringMakeConstantString("Import.Action.Import");
CFStringRef kZpAnalyticsImportSourcePTP = __CFStringMakeConstantString("Import.Source.PTP");
CFStringRef kZpAnalyticsImportSourceMassStorage = __CFStringMakeConstantString("Import.Source.Mass Storage");
CFStringRef kZpAnalyticsImportSourceManual = __CFStringMakeConstantString("Import.Source.Manual");
CFStringRef kZpAnalyticsLrMigrationInvoked = __CFStringMakeConstantString("Lightroom Migration");
CFStringRef kZpAnalyticsCrashReportDidSendCrashReport = __CFStringMakeConstantString("Crash Report");
CFStringRef kZpAnalyticsZephraSyncOpenEnrollDialog = __CFStringMakeConstantString("ZephraSync Open Enroll Dialog");
CFStringRef kZpAnalyticsZephraSyncEnrolled = __CFStringMakeConstantString("ZephraSync Enrolled");
CFStringRef kZpAnalyticsZephraSyncConnected = __CFStringMakeConstantString("ZephraSync Connected");
CFStringRef kZpAnalyticsZephraSyncPublishFolder = __CFStringMakeConstantString("ZephraSync Publish Folder");
CFStringRef kZpAnalyticsZephraSyncPublishAlbum = __CFStringMakeConstantString("ZephraSync Publish Album");
CFStringRef kZpAnalyticsZephraSyncEditProxy = __CFStringMakeConstantString("ZephraSync Edit Proxy");
CFStringRef kZpAnalyticsZephraSyncBrowseFolder = __CFStringMakeConstantString("ZephraSync Browse Folder");
CFStringRef kZpAnalyticsZephraSyncBrowseAlbum = __CFStringMakeConstantString("ZephraSync Browse Album");
CFStringRef kZpAnalyticsZephraSyncStorageGDrive = __CFStringMakeConstantString("ZephraSync GDrive");
CFStringRef kZpAnalyticsZephraSyncStorageDropbox = __CFStringMakeConstantString("ZephraSync Dropbox");

// Reserved codes: a constant zero-initialiser (static, not dynamic,
// initialisation), and nothing ever assigns them.
CFStringRef kZpAnalyticsEnhanceNoiseReductionColorDropperTool = nullptr;
CFStringRef kZpAnalyticsEnhanceVignetteCenterTool = nullptr;
CFStringRef kZpAnalyticsEnhanceGrayDropperTool = nullptr;
CFStringRef kZpAnalyticsEnhanceZoomTool = nullptr;
CFStringRef kZpAnalyticsEnhancePanTool = nullptr;
CFStringRef kZpAnalyticsEnhanceRetouchBrushTool = nullptr;
CFStringRef kZpAnalyticsEnhanceCropTool = nullptr;
CFStringRef kZpAnalyticsEnhanceRedEyeTool = nullptr;
CFStringRef kZpAnalyticsEnhanceKeenEraserTool = nullptr;
CFStringRef kZpAnalyticsBrowseSelectSmartAlbum = nullptr;
CFStringRef kZpAnalyticsBrowseCellCount = nullptr;
CFStringRef kZpAnalyticsBrowseSearchCatalogedFolderTime = nullptr;
CFStringRef kZpAnalyticsBrowseProcessDirTime = nullptr;
CFStringRef kZpAnalyticsBrowseCompareViewZoomToFullImage = nullptr;
CFStringRef kZpAnalyticsBrowseCompareViewPhotoCount = nullptr;
CFStringRef kZpAnalyticsBrowseCompareViewFullTimeMean = nullptr;
CFStringRef kZpAnalyticsBrowseCompareViewFitTimeMean = nullptr;
CFStringRef kZpAnalyticsBrowseDetailViewZoomToFullImage = nullptr;
CFStringRef kZpAnalyticsBrowseDetailViewPhotoCount = nullptr;
CFStringRef kZpAnalyticsBrowseDetailViewFullTimeMean = nullptr;
CFStringRef kZpAnalyticsBrowseDetailViewFitTimeMean = nullptr;
CFStringRef kZpAnalyticsBrowseDeleteAlbum = nullptr;
CFStringRef kZpAnalyticsBrowseAddAlbum = nullptr;
CFStringRef kZpAnalyticsBrowseMoveCache = nullptr;
CFStringRef kZpAnalyticsBrowseAddFavorites = nullptr;
CFStringRef kZpAnalyticsBrowseGoogleDrive = nullptr;
CFStringRef kZpAnalyticsBrowseSkyDrive = nullptr;
CFStringRef kZpAnalyticsBrowseDropbox = nullptr;
CFStringRef kZpAnalyticsBrowseICloudPhotoStream = nullptr;
CFStringRef kZpAnalyticsBlackWhiteDetailBrush = nullptr;
CFStringRef kZpAnalyticsBlackWhiteContrastBrush = nullptr;
CFStringRef kZpAnalyticsBlackWhiteBrightnessBrush = nullptr;
CFStringRef kZpAnalyticsEffectsFiltersApplied = nullptr;
CFStringRef kZpAnalyticsEffectsInsertPreset = nullptr;
CFStringRef kZpAnalyticsEffectsAddPreset = nullptr;
CFStringRef kZpAnalyticsEffectsReplaceLayer = nullptr;
CFStringRef kZpAnalyticsEffectsMoveLayer = nullptr;
CFStringRef kZpAnalyticsEffectsCopyMask = nullptr;
CFStringRef kZpAnalyticsEffectsReset = nullptr;
CFStringRef kZpAnalyticsEffectsProtectSkin = nullptr;
CFStringRef kZpAnalyticsEffectsProtectShadows = nullptr;
CFStringRef kZpAnalyticsEffectsProtectHighlights = nullptr;
CFStringRef kZpAnalyticsEffectsApplyToRange = nullptr;
CFStringRef kZpAnalyticsEffectsApplyToColor = nullptr;
CFStringRef kZpAnalyticsEffectsBlendingMode = nullptr;
CFStringRef kZpAnalyticsEffectsBlendingOptions = nullptr;
CFStringRef kZpAnalyticsEffectsDeleteAll = nullptr;
CFStringRef kZpAnalyticsEffectsAddAdjustableGradientFilter = nullptr;
CFStringRef kZpAnalyticsEffectsAddAdjustmentBrushFilter = nullptr;
CFStringRef kZpAnalyticsEffectsAddEmptyLayer = nullptr;
CFStringRef kZpAnalyticsEffectsLayerOpacity = nullptr;
CFStringRef kZpAnalyticsEffectsMasterOpacity = nullptr;
CFStringRef kZpAnalyticsEffectsFactoryFilter = nullptr;
CFStringRef kZpAnalyticsEffectsFavoritesFactoryPreset = nullptr;
CFStringRef kZpAnalyticsEffectsFavoritesPreset = nullptr;
CFStringRef kZpAnalyticsEffectsUserPreset = nullptr;
CFStringRef kZpAnalyticsEffectsFactoryPreset = nullptr;
CFStringRef kZpAnalyticsEffectsCreateLuminosityMask = nullptr;
CFStringRef kZpAnalyticsEffectsPolygonalMaskTool = nullptr;
CFStringRef kZpAnalyticsEffectsBlurBrushTool = nullptr;
CFStringRef kZpAnalyticsEffectsRaspBrushTool = nullptr;
CFStringRef kZpAnalyticsEffectsRefineBrushTool = nullptr;
CFStringRef kZpAnalyticsEffectsQuickMaskTool = nullptr;
CFStringRef kZpAnalyticsEffectsZoomTool = nullptr;
CFStringRef kZpAnalyticsEffectsPanTool = nullptr;
CFStringRef kZpAnalyticsEffectsMaskingPuckTool = nullptr;
CFStringRef kZpAnalyticsEffectsMaskingBrushTool = nullptr;
CFStringRef kZpAnalyticsLayersCreateLuminosityMask = nullptr;
CFStringRef kZpAnalyticsLayersPolygonalMaskTool = nullptr;
CFStringRef kZpAnalyticsLayersRaspBrushTool = nullptr;
CFStringRef kZpAnalyticsLayersBlurBrushTool = nullptr;
CFStringRef kZpAnalyticsLayersRefineBrushTool = nullptr;
CFStringRef kZpAnalyticsLayersQuickMaskTool = nullptr;
CFStringRef kZpAnalyticsLayersZoomTool = nullptr;
CFStringRef kZpAnalyticsLayersPanTool = nullptr;
CFStringRef kZpAnalyticsLayersRedEyeTool = nullptr;
CFStringRef kZpAnalyticsLayersHealingBrushTool = nullptr;
CFStringRef kZpAnalyticsLayersCloneStampTool = nullptr;
CFStringRef kZpAnalyticsLayersRetouchBrushTool = nullptr;
CFStringRef kZpAnalyticsLayersKeenEraserTool = nullptr;
CFStringRef kZpAnalyticsLayersMaskingPuckTool = nullptr;
CFStringRef kZpAnalyticsLayersMaskingBrushTool = nullptr;
CFStringRef kZpAnalyticsLayersTrimTool = nullptr;
CFStringRef kZpAnalyticsLayersCropTool = nullptr;
CFStringRef kZpAnalyticsLayersTransformTool = nullptr;
CFStringRef kZpAnalyticsPrintJobInitiated = nullptr;
CFStringRef kZpAnalyticsPrintSettingsDisplayed = nullptr;
CFStringRef kZpAnalyticsDocumentsSaved = nullptr;
CFStringRef kZpAnalyticsDocumentSizesOpened = nullptr;
CFStringRef kZpAnalyticsDocumentsOpened = nullptr;
CFStringRef kZpAnalyticsLoadedImageUsingDefault = nullptr;
CFStringRef kZpAnalyticsLoadedImageUsingZpKestrel = nullptr;
CFStringRef kZpAnalyticsLoadedImageUsingImageIO = nullptr;
CFStringRef kZpAnalyticsUsedLibRaw = nullptr;
CFStringRef kZpAnalyticsUsingZephraSidecars = nullptr;

} // extern "C"
