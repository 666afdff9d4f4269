-- Objects that homes may hold, over the demo home.

-- 150 to 152: lamps with a rendering and a category; the last one is remotable, but not discoverable, and disabled.
INSERT INTO KOVAD_RENDERING VALUES (71, 'r', 1, 0, 1, 0.1, '0=>"Off",1=>"On"');
INSERT INTO KOVA_WEB_OBJECT_CATEGORY VALUES (72, 'T', '_KOVA_THEME_OBJECT_CATEGORY_Lamps');
WITH RECURSIVE N(I) AS (SELECT 150 UNION ALL SELECT I+1 FROM N WHERE I<152)
    INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, CURRENT_VALUE, IS_DISCOVERABLE, IS_REMOTABLE, RENDERING_ID, OPTIONALP)
    SELECT I, 'Lamp', 'QUOROBJ', 'kovaSwitch', '1', I<152, 1, 71, 'category=72' FROM N;
UPDATE KOVAD_OBJECT SET ENABLE_FLAG=0 WHERE ID=152;

-- 180: a complex object with children of every kind; 181 to 184 are switches, the last one not discoverable.
WITH RECURSIVE N(I) AS (SELECT 180 UNION ALL SELECT I+1 FROM N WHERE I<184)
    INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, CURRENT_VALUE, IS_DISCOVERABLE, IS_REMOTABLE)
    SELECT I, 'Element ' || I, 'QUOROBJ', iif(I=180, 'kovaThermostat', 'kovaSwitch'), '1', I<184, 1 FROM N;
INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID, OPTIONAL) VALUES
    (180, 999, 'tag_complex_element="gone"'),
    (180, 183, 'tag_complex_element="first"'),
    (180, 182, 'x=1|tag_complex_element="second"'),
    (180, 184, 'tag_complex_element="hidden"'),
    (180, 181, 'TAG_COMPLEX_ELEMENT without one of its own');

-- 190 is its own child, 191 and 192 are each other's, 1000 to 3000 a chain.
WITH RECURSIVE N(I) AS (SELECT 190 UNION ALL SELECT iif(I=192, 1000, I+1) FROM N WHERE I<3000)
    INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, IS_DISCOVERABLE, IS_REMOTABLE)
    SELECT I, 'nested', 'QUOROBJ', 'kovaThermostat', 1, 1 FROM N;
INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID, OPTIONAL)
    SELECT ID, CASE ID WHEN 190 THEN 190 WHEN 191 THEN 192 WHEN 192 THEN 191 ELSE ID+1 END, 'tag_complex_element="t"'
    FROM KOVAD_OBJECT WHERE NAME='nested' AND ID<3000;

-- 200: Latin-1 and numbers that are none. 0: an ID, and NULL everywhere else.
INSERT INTO KOVAD_RENDERING VALUES (75, NULL, NULL, 'abc', 1e99, '0.5x', NULL), (0, 'zero', 0, 0, 9, 1, '');
INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, IS_REMOTABLE, RENDERING_ID, OPTIONALP, CURRENT_VALUE, ENABLE_FLAG) VALUES
    (200, CAST(x'636166E9' AS TEXT), 'QUOROBJ', 'kovaSwitch', 1, 75, 'category=999', '1', 1),
    (0, NULL, NULL, 'kovaSwitch', 1, NULL, NULL, NULL, NULL);

-- 10001 to 15000: many.
WITH RECURSIVE N(I) AS (SELECT 10001 UNION ALL SELECT I+1 FROM N WHERE I<15000)
    INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, IS_REMOTABLE) SELECT I, 'many', 'QUOROBJ', 'kovaSwitch', 1 FROM N;

-- 20000 to 20300: complex objects in three layers; their relations are made by the test.
WITH RECURSIVE N(I) AS (SELECT 20000 UNION ALL SELECT I+1 FROM N WHERE I<20300)
    INSERT INTO KOVAD_OBJECT (ID, NAME, TYPE, PHPCLASS, IS_DISCOVERABLE, IS_REMOTABLE)
    SELECT I, 'layer', 'QUOROBJ', iif(I BETWEEN 20200 AND 20299, 'kovaSwitch', 'kovaThermostat'), 1, 1 FROM N;
