-- A small house to live with. IDs are fixed so that examples and tests can name them; new rows start at 101.

-- Neighbours may attach.
INSERT INTO KOVA_M2M_CONFIGURATION (NAME, VALUE) VALUES ('KOVA_M2M_ATTACH_ENABLE_FLAG', '1');

INSERT INTO KOVAD_OBJECT_TYPES (TYPE, ALLOWED_ACTIONS) VALUES
    ('GROUP',   ''),
    ('QUOROBJ', 'set|turn-on|turn-off|toggle'),
    ('QUORIDX', 'set|up|down|step'),
    ('SENSOR',  '');

INSERT INTO KOVA_WEB_PHPCLASS (CLASSNAME, IS_COMPLEX) VALUES
    ('kovaGroup', 0), ('kovaSwitch', 0), ('kovaLevel', 0), ('kovaSensor', 0), ('kovaThermostat', 1),
    ('kovaUser', 0), ('kovaUserGroup', 0), ('kovaClientBrowser', 0), ('kovaScriptRunner', 0);

INSERT INTO KOVAD_RENDERING (ID, NAME, HAS_OPTIONS, MIN_STATE, MAX_STATE, STEP_STATE, OPTION_LABELS) VALUES
    (1, 'On or off',       1,   0,   1, 1,   '0=>"Off",1=>"On"'),
    (2, 'Percent',         0,   0, 100, 5,   'NO-VALUE'),
    (3, 'Setpoint',        0,   5,  30, 0.5, 'NO-VALUE'),
    (4, 'Temperature',     0, -40,  80, 0.1, 'NO-VALUE'),
    (5, 'Thermostat mode', 1,   0,   3, 1,   '0=>"Off",1=>"Heating",2=>"Cooling",3=>"Automatic"'),
    (6, 'Contact',         1,   0,   1, 1,   '0=>"Closed",1=>"Open"');

INSERT INTO KOVA_WEB_OBJECT_CATEGORY (ID, TYPE, DESCRIPTION) VALUES
    (1, 'LIGHT',   '_KOVA_THEME_OBJECT_CATEGORY_Lighting'),
    (2, 'SHUTTER', '_KOVA_THEME_OBJECT_CATEGORY_Shutters'),
    (3, 'CLIMATE', '_KOVA_THEME_OBJECT_CATEGORY_Climate'),
    (4, 'SENSOR',  '_KOVA_THEME_OBJECT_CATEGORY_Sensors'),
    (5, 'ACCESS',  '_KOVA_THEME_OBJECT_CATEGORY_Access'),
    (6, 'ROOM',    '_KOVA_THEME_OBJECT_CATEGORY_Rooms');

-- Groups of users, and users: anna / sesame, bruno / lighthouse, carla / garden (in no group), dino / owl (in all three).
INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS) VALUES
    (1, 'Family',      'USERGROUP', 'kovaUserGroup'),
    (2, 'Guests',      'USERGROUP', 'kovaUserGroup'),
    (3, 'Technicians', 'USERGROUP', 'kovaUserGroup');
INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, MSP) VALUES
    (4, 'anna',  'USER', 'kovaUser', '{SHA}CEo1Ae3vaEXy8eQZjsOiuBz1xrw='),
    (5, 'bruno', 'USER', 'kovaUser', '{SHA}Dr5T/IIKVEeY'),
    (6, 'carla', 'USER', 'kovaUser', '{SHA}sa3lMQV/UcKZJHkzXQO3dK/etvo='),
    (7, 'dino',  'USER', 'kovaUser', '{SHA}LHMOOm0qrW2RSHLkX4aNIKVDVwo=');
INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID, RELATION_WEB_TIPOLOGY) VALUES
    (1, 4, 'USERGROUP_RELATION'),
    (2, 5, 'USERGROUP_RELATION'),
    (1, 7, 'USERGROUP_RELATION'), (2, 7, 'USERGROUP_RELATION'), (3, 7, 'USERGROUP_RELATION');

-- The rooms: what a neighbour sees first. The cellar needs a permission.
INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, OPTIONALP, IS_DISCOVERABLE, IS_REMOTABLE, IS_VISIBLE, WITH_PERMISSION) VALUES
    (10, 'Ground floor', 'GROUP', 'kovaGroup', 'category=6', 1, 1, 1, 0),
    (11, 'First floor',  'GROUP', 'kovaGroup', 'category=6', 1, 1, 1, 0),
    (12, 'Garden',       'GROUP', 'kovaGroup', 'category=6', 1, 1, 1, 0),
    (13, 'Cellar',       'GROUP', 'kovaGroup', 'category=6', 1, 1, 1, 1);

-- The things in them. The siren is not for neighbours at all.
INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, OPTIONALP, RENDERING_ID, CURRENT_VALUE, IS_DISCOVERABLE, IS_REMOTABLE, IS_VISIBLE, WITH_PERMISSION) VALUES
    (20, 'Kitchen light',       'QUOROBJ', 'kovaSwitch', 'category=1', 1, '0',    1, 1, 1, 0),
    (21, 'Living room dimmer',  'QUORIDX', 'kovaLevel',  'category=1', 2, '40',   1, 1, 1, 0),
    (22, 'Living room shutter', 'QUORIDX', 'kovaLevel',  'category=2', 2, '100',  1, 1, 1, 0),
    (23, 'Outdoor temperature', 'SENSOR',  'kovaSensor', 'category=4', 4, '12.5', 1, 1, 1, 0),
    (24, 'Hall light',          'QUOROBJ', 'kovaSwitch', 'category=1', 1, '1',    1, 1, 1, 0),
    (25, 'Bedroom light',       'QUOROBJ', 'kovaSwitch', 'category=1', 1, '0',    1, 1, 1, 0),
    (26, 'Bedroom shutter',     'QUORIDX', 'kovaLevel',  'category=2', 2, '0',    1, 1, 1, 0),
    (27, 'Garden lights',       'QUOROBJ', 'kovaSwitch', 'category=1', 1, '0',    1, 1, 1, 0),
    (28, 'Garden gate',         'QUOROBJ', 'kovaSwitch', 'category=5', 6, '0',    1, 1, 1, 1),
    (29, 'Boiler',              'QUOROBJ', 'kovaSwitch', 'category=3', 1, '1',    1, 1, 1, 1),
    (34, 'Alarm siren',         'QUOROBJ', 'kovaSwitch', 'NO-VALUE',   1, '0',    0, 0, 0, 0);

-- A complex object and its elements.
INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, OPTIONALP, RENDERING_ID, CURRENT_VALUE, IS_DISCOVERABLE, IS_REMOTABLE, IS_VISIBLE) VALUES
    (30, 'Thermostat',  'QUOROBJ', 'kovaThermostat', 'category=3', 1, '1',    1, 1, 1),
    (31, 'Setpoint',    'QUORIDX', 'kovaLevel',      'category=3', 3, '20.5', 1, 1, 1),
    (32, 'Temperature', 'SENSOR',  'kovaSensor',     'category=4', 4, '19.8', 1, 1, 1),
    (33, 'Mode',        'QUOROBJ', 'kovaSwitch',     'category=3', 5, '1',    1, 1, 1);
INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID, RELATION_WEB_TIPOLOGY, OPTIONAL) VALUES
    (30, 31, 'OBJECT_RELATION', 'tag_complex_element="setpoint"'),
    (30, 32, 'OBJECT_RELATION', 'tag_complex_element="temperature"'),
    (30, 33, 'OBJECT_RELATION', 'tag_complex_element="mode"');

-- Which thing is in which room.
INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID, RELATION_WEB_TIPOLOGY) VALUES
    (10, 20, 'OBJECT_RELATION'), (10, 21, 'OBJECT_RELATION'), (10, 22, 'OBJECT_RELATION'), (10, 24, 'OBJECT_RELATION'),
    (10, 30, 'OBJECT_RELATION'),
    (11, 25, 'OBJECT_RELATION'), (11, 26, 'OBJECT_RELATION'),
    (12, 23, 'OBJECT_RELATION'), (12, 27, 'OBJECT_RELATION'), (12, 28, 'OBJECT_RELATION'),
    (13, 29, 'OBJECT_RELATION');

-- Permissions: the family and the technicians may open the gate, only technicians see the cellar and the boiler.
INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID, RELATION_WEB_TIPOLOGY) VALUES
    (1, 28, 'USERGROUP_RELATION'), (3, 28, 'USERGROUP_RELATION'),
    (3, 13, 'USERGROUP_RELATION'), (3, 29, 'USERGROUP_RELATION');

-- The runner that waits for a neighbour's first attach.
INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, OPTIONALP, MSP) VALUES
    (40, 'M2M link', 'CSCMD', 'kovaScriptRunner', 'loop=1|timer=0|startup=1|interpreter=c',
     '/usr/local/bin/m2mclientmanager --first-run --listen-for-attach-on-port 45200 --id 40');

UPDATE sqlite_sequence SET seq = 100 WHERE name = 'KOVAD_OBJECT';
