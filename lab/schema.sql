-- The controller's tables, as far as the M2M link and the lab use them.
-- Flags are 1 or 0; an options text is key=value|key=value or 'NO-VALUE'.

-- Everything the controller knows by an ID. TYPE says what a row is:
--   QUOROBJ, QUORIDX, SENSOR, GROUP   things of the home and groups of them
--   USER, USERGROUP                   MSP of a USER is the credential "{SHA}..." that the core compares
--   CLIENTBROWSER                     a neighbour as a client; MSP is its address
--   CSCMD                             a runner; MSP is its command line, and the core keeps
--                                     STATUS_ID (0 stopped, 1 starting, 2 running, 3 failed), VALUES_TYPE (PID)
--                                     and MIN_VALUE (port of its commands endpoint)
CREATE TABLE KOVAD_OBJECT (
    ID              INTEGER PRIMARY KEY AUTOINCREMENT,
    NAME            TEXT,
    TYPE            TEXT,
    STATUS_ID       INTEGER DEFAULT 0,
    VALUES_TYPE     INTEGER,
    MIN_VALUE       INTEGER,
    MSP             TEXT    DEFAULT 'NO-VALUE',
    OPTIONALP       TEXT    DEFAULT 'NO-VALUE',
    PHPCLASS        TEXT,
    ENABLE_FLAG     INTEGER DEFAULT 1,
    RENDERING_ID    INTEGER DEFAULT -1,
    CURRENT_VALUE   TEXT    DEFAULT '',
    IS_DISCOVERABLE INTEGER DEFAULT 0,
    IS_REMOTABLE    INTEGER DEFAULT 0,
    IS_VISIBLE      INTEGER DEFAULT 0,
    WITH_PERMISSION INTEGER DEFAULT 0
);
CREATE INDEX OBJECT_BY_TYPE ON KOVAD_OBJECT (TYPE, NAME);
CREATE INDEX OBJECT_BY_MSP ON KOVAD_OBJECT (MSP);

-- Who belongs to, is child of, may reach, is logged in as or follows whom. RELATION_WEB_TIPOLOGY:
--   USERGROUP_RELATION                 a group's member user, or an object that the group may reach
--   USER_RELATION                      the user a client browser acts as; ACTION_VALUE is the token
--   REMOTABLE_LOGIC_IMPLICIT_RELATION  an object that a client browser follows
--   OBJECT_RELATION                    a group's object; a complex object's child has OPTIONAL tag_complex_element="tag"
CREATE TABLE KOVAD_OBJECT_RELATION (
    ID                    INTEGER PRIMARY KEY AUTOINCREMENT,
    PARENTOBJ_ID          INTEGER,
    CHILDOBJ_ID           INTEGER,
    RELATION_WEB_TIPOLOGY TEXT,
    ACTION                TEXT    DEFAULT '',
    ACTION_VALUE          TEXT    DEFAULT '',
    ACCESS_MODE           TEXT    DEFAULT '',
    OPTIONAL              TEXT    DEFAULT 'NO-VALUE',
    ENABLE_FLAG           INTEGER DEFAULT 1
);
CREATE INDEX RELATION_BY_PARENT ON KOVAD_OBJECT_RELATION (PARENTOBJ_ID);
CREATE INDEX RELATION_BY_CHILD ON KOVAD_OBJECT_RELATION (CHILDOBJ_ID);

-- What can be done with objects of a type: words joined by |.
CREATE TABLE KOVAD_OBJECT_TYPES (
    ID              INTEGER PRIMARY KEY AUTOINCREMENT,
    TYPE            TEXT UNIQUE,
    ALLOWED_ACTIONS TEXT DEFAULT ''
);

CREATE TABLE KOVA_WEB_PHPCLASS (
    ID         INTEGER PRIMARY KEY AUTOINCREMENT,
    CLASSNAME  TEXT UNIQUE,
    IS_COMPLEX INTEGER DEFAULT 0
);

CREATE TABLE KOVAD_NEIGHBOUR (
    ID               INTEGER PRIMARY KEY AUTOINCREMENT,
    PRODUCTOR_TAG_ID TEXT,
    SOFTWARE_VERSION TEXT,
    HOST_IP_ADDRESS  TEXT,
    HOST_PORT        INTEGER,
    HOST_STATUS      TEXT,
    HOST_UID         TEXT,
    HOST_NAME        TEXT,
    HOST_OPTIONALS   TEXT,
    ENABLE_FLAG      INTEGER DEFAULT 0,
    LAST_ACCESS      INTEGER,
    USE_SSL          INTEGER
);
CREATE INDEX NEIGHBOUR_BY_UID ON KOVAD_NEIGHBOUR (HOST_UID);

-- How a value is shown and set: a range, or (HAS_OPTIONS 1) labels of the form 0=>"Off",1=>"On".
CREATE TABLE KOVAD_RENDERING (
    ID            INTEGER PRIMARY KEY AUTOINCREMENT,
    NAME          TEXT,
    HAS_OPTIONS   INTEGER DEFAULT 0,
    MIN_STATE     REAL    DEFAULT 0,
    MAX_STATE     REAL    DEFAULT 0,
    STEP_STATE    REAL    DEFAULT 1,
    OPTION_LABELS TEXT    DEFAULT 'NO-VALUE'
);

CREATE TABLE KOVA_WEB_OBJECT_CATEGORY (
    ID          INTEGER PRIMARY KEY AUTOINCREMENT,
    TYPE        TEXT,
    DESCRIPTION TEXT
);

-- Settings of the M2M function; values are compared as texts.
CREATE TABLE KOVA_M2M_CONFIGURATION (
    NAME  TEXT PRIMARY KEY,
    VALUE TEXT
);
