#ifndef ZPTOOLBOX_ZPANALYTICSFEATURECODES_H
#define ZPTOOLBOX_ZPANALYTICSFEATURECODES_H

/*
 * The feature codes shared by every application of the family.
 *
 * Pass one of these as the feature code to ZpAnalyticsTrackFeature and its
 * relatives, so that every application reports the same action under the same
 * text. The texts (shown beside each name) are sent exactly as they stand.
 *
 * - Each is a constant CFString made when the library is loaded, before any
 *   call into it can happen: valid until the process ends, never to be
 *   retained or released.
 * - The variables are writable for compatibility with existing hosts; treat
 *   them as read-only. The library never reads them, nor writes them after
 *   load.
 * - Names ending in "Format" are templates: substitute the value with
 *   CFStringCreateWithFormat, pass the result as the feature code and release
 *   it afterwards. Never track a template itself.
 * - The reserved names at the end are exported but always NULL; tracking one
 *   sends nothing and logs nothing.
 *
 * Usable from C and C++.
 */

#include "ZpToolboxLiteExport.h"

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Membership of the user. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsUserPlusMemberYes; /* "Application.Plus Member.Yes" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsUserPlusMemberNo;  /* "Application.Plus Member.No" */

/* The module the user works in. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersModule;       /* "Application.Module.Layers" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsModule;      /* "Application.Module.Effects" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsResizeModule;       /* "Application.Module.Resize" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseModule;       /* "Application.Module.Browse" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsDevelopModule;      /* "Application.Module.Develop" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsFilterTesterModule; /* "Application.Module.Filter Tester" */

/* How the application was started: on its own, from an app store or from a host application. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsStandaloneLaunched;    /* "Application.Launched.Standalone" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsAppStoreLaunched;      /* "Application.Launched.AppStore" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPhotoshopLaunched;     /* "Application.Launched.Photoshop" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLightroomLaunched;     /* "Application.Launched.Lightroom" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPhotosLaunched;        /* "Application.Launched.Photos" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsAffinityPhotoLaunched; /* "Application.Launched.AffinityPhoto" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsCorelPaintLaunched;    /* "Application.Launched.CorelPaint" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsCaptureOneLaunched;    /* "Application.Launched.CaptureOne" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsInvalidLaunched;       /* "Application.Launched.Invalid" */

/* Application shutdown. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsShutdownTime; /* "Application Shutdown Time" */

/* Publishing to SmugMug. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsSmugMugOpen;         /* "SmugMug.Dialog.Open" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsSmugMugPublishCount; /* "SmugMug.Publish.Count" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsSmugMugPublish;      /* "SmugMug.Publish.Perform" */

/* The raw decoder that loaded an image. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLoadedImageUsingLibRaw;   /* "Loaded Image Using LibRaw" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLoadedImageUsingAdobeDNG; /* "Loaded Image Using Adobe DNG" */

/* The welcome dialog. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsUserInitiatedWelcomeDialog; /* "Welcome Dialog User Initiated" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsWelcomeDialogAutomatic;     /* "Welcome Dialog Automatic" */

/* Browsing and the catalog. The two "Recovered" codes have one dot, which
 * the tracking functions refuse with a warning: tracking them sends nothing. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseOpenZephraSyncBeta;       /* "ZephraSyncBetaClick" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseRecoverDatabase;          /* "Browse.RecoveredDatabase" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseRecoverNdDatabase;        /* "Browse.RecoveredNdDatabase" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseDetailViewSession;        /* "DetailView Session" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseCompareViewSession;       /* "CompareView Session" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseSearchCatalogedFolders;   /* "Search Cataloged Folders" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseShowSubFolders;           /* "Show Sub-Folders" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseRootCatalogedFolderCount; /* "Top Level Cataloged Folder Count" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseCatalogedFolderCount;     /* "Cataloged Folder Count" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseAddCatalogedFolder;       /* "Add Cataloged Folder" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseCatalogedPhotoCount;      /* "Cataloged Photo Count" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseReadMetadataFromPhoto;    /* "Read Metadata From Photo" */

/* Keywords. The count template takes a number (%d). */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsKeywordsActionEdit;   /* "Edit Keyword" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsKeywordsActionAdd;    /* "Create Keywords" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsKeywordsActionRemove; /* "Delete Keywords" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsKeywordsCountFormat;  /* "Keywords.Count.%d" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsKeywordsCount;        /* "MKL Keyword Count" */

/* The map view and location lookup. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseMapView;           /* "Map View Location" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseMapViewCacheHit;   /* "Map View Cache Hit" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseMapViewPhotoCount; /* "Map View Photo Count" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseMapViewSession;    /* "Map View Session" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseLocationLookup;    /* "Location Lookup" */

/* Adding folders to the catalog. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseOpenAddToCatalog; /* "Open Add to Catalog" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseRunAddToCatalog;  /* "Run Add to Catalog" */

/* Panorama merge. The count template takes a number (%d); both error
 * templates take an object (%@), normally a CFString. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPanoOpen;             /* "Pano.Action.Open" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPanoMerge;            /* "Pano.Action.Merge" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPanoCountFormat;      /* "Pano.Count.%d" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPanoMergeTime;        /* "Pano Merge Time" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPanoErrorFormat;      /* "Pano.Error.%@" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPanoProxyErrorFormat; /* "Pano.Proxy Error.%@" */

/* HDR merge. Both templates take a number (%d). */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsHDROpen;             /* "HDR.Action.Open" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsHDRMerge;            /* "HDR.Action.Merge" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsHDRMergeCountFormat; /* "HDR.Count.%d" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsHDRMergeTime;        /* "HDR Merge Time" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsHDRErrorFormat;      /* "HDR.Error.%d" */

/* Focus stacking. Both templates take a number (%d). */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsFocusStackOpen;             /* "FocusStack.Action.Open" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsFocusStackMerge;            /* "FocusStack.Action.Merge" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsFocusStackMergeCountFormat; /* "FocusStack.Count.%d" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsFocusStackMergeTime;        /* "Focus Stack Merge Time" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsFocusStackErrorFormat;      /* "FocusStack.Error.%d" */

/* Tethered shooting. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsTetherShootTakePicture; /* "Tethered Shooting" */

/* Importing photos, and from which kind of source. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsImportActionOpen;        /* "Import.Action.Open" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsImportActionImport;      /* "Import.Action.Import" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsImportSourcePTP;         /* "Import.Source.PTP" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsImportSourceMassStorage; /* "Import.Source.Mass Storage" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsImportSourceManual;      /* "Import.Source.Manual" */

/* Migration from Lightroom. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLrMigrationInvoked; /* "Lightroom Migration" */

/* Crash reporting. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsCrashReportDidSendCrashReport; /* "Crash Report" */

/* ZephraSync: enrolment, publishing, browsing and storage services. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncOpenEnrollDialog; /* "ZephraSync Open Enroll Dialog" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncEnrolled;         /* "ZephraSync Enrolled" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncConnected;        /* "ZephraSync Connected" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncPublishFolder;    /* "ZephraSync Publish Folder" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncPublishAlbum;     /* "ZephraSync Publish Album" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncEditProxy;        /* "ZephraSync Edit Proxy" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncBrowseFolder;     /* "ZephraSync Browse Folder" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncBrowseAlbum;      /* "ZephraSync Browse Album" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncStorageGDrive;    /* "ZephraSync GDrive" */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsZephraSyncStorageDropbox;   /* "ZephraSync Dropbox" */

/*
 * Reserved codes: exported so that hosts built against them still load, but
 * never given a value. Each stays NULL for the life of the process.
 */

/* Reserved: enhance tools. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEnhanceNoiseReductionColorDropperTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEnhanceVignetteCenterTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEnhanceGrayDropperTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEnhanceZoomTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEnhancePanTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEnhanceRetouchBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEnhanceCropTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEnhanceRedEyeTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEnhanceKeenEraserTool;

/* Reserved: browsing, albums, views and cloud sources. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseSelectSmartAlbum;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseCellCount;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseSearchCatalogedFolderTime;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseProcessDirTime;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseCompareViewZoomToFullImage;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseCompareViewPhotoCount;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseCompareViewFullTimeMean;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseCompareViewFitTimeMean;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseDetailViewZoomToFullImage;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseDetailViewPhotoCount;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseDetailViewFullTimeMean;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseDetailViewFitTimeMean;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseDeleteAlbum;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseAddAlbum;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseMoveCache;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseAddFavorites;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseGoogleDrive;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseSkyDrive;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseDropbox;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBrowseICloudPhotoStream;

/* Reserved: black and white brushes. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBlackWhiteDetailBrush;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBlackWhiteContrastBrush;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsBlackWhiteBrightnessBrush;

/* Reserved: effects filters, presets, layers, masks and tools. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsFiltersApplied;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsInsertPreset;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsAddPreset;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsReplaceLayer;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsMoveLayer;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsCopyMask;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsReset;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsProtectSkin;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsProtectShadows;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsProtectHighlights;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsApplyToRange;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsApplyToColor;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsBlendingMode;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsBlendingOptions;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsDeleteAll;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsAddAdjustableGradientFilter;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsAddAdjustmentBrushFilter;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsAddEmptyLayer;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsLayerOpacity;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsMasterOpacity;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsFactoryFilter;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsFavoritesFactoryPreset;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsFavoritesPreset;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsUserPreset;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsFactoryPreset;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsCreateLuminosityMask;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsPolygonalMaskTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsBlurBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsRaspBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsRefineBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsQuickMaskTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsZoomTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsPanTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsMaskingPuckTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsEffectsMaskingBrushTool;

/* Reserved: layer masks and tools. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersCreateLuminosityMask;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersPolygonalMaskTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersRaspBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersBlurBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersRefineBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersQuickMaskTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersZoomTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersPanTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersRedEyeTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersHealingBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersCloneStampTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersRetouchBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersKeenEraserTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersMaskingPuckTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersMaskingBrushTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersTrimTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersCropTool;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLayersTransformTool;

/* Reserved: printing. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPrintJobInitiated;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsPrintSettingsDisplayed;

/* Reserved: documents. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsDocumentsSaved;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsDocumentSizesOpened;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsDocumentsOpened;

/* Reserved: image loading. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLoadedImageUsingDefault;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLoadedImageUsingZpKestrel;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsLoadedImageUsingImageIO;
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsUsedLibRaw;

/* Reserved: sidecar files. */
extern ZPTOOLBOX_EXPORT CFStringRef kZpAnalyticsUsingZephraSidecars;

#ifdef __cplusplus
}
#endif

#endif /* ZPTOOLBOX_ZPANALYTICSFEATURECODES_H */
