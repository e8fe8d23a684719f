/* Identifiers of the sample resource DLL, shared by its .rc file and by the
   programs that read it. Plain C preprocessor only: windres reads it too. */
#ifndef OSTRA_SAMPLE_RESOURCE_IDS_H
#define OSTRA_SAMPLE_RESOURCE_IDS_H

/* Type "GREETING": wide zero-terminated texts. */
#define SAMPLE_GREETING_ALL 101        /* English (US), Japanese and neutral */
#define SAMPLE_GREETING_NO_ENGLISH 102 /* Japanese and neutral only */
#define SAMPLE_GREETING_ENGLISH 103    /* English (US) only */

/* Type "PAGES": neutral, integer-named, enumerated in ascending order. */
#define SAMPLE_PAGE_FIRST 201
#define SAMPLE_PAGE_SECOND 202
#define SAMPLE_PAGE_THIRD 203

/* RCDATA (an integer type), neutral. */
#define SAMPLE_RAW_DATA 301

#endif
