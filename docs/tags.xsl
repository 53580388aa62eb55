<?xml version="1.0" encoding="UTF-8"?>
<!--
  SPDX-FileCopyrightText: 2026 The libostrel authors
  SPDX-License-Identifier: LGPL-2.1-or-later
-->
<!-- Copies one of Qt's tag files without the namespace Qt, because every mention of Qt would be a
     link, and without the members of the library's base classes, because every class would list them
     as its own. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:template match="@* | node()">
    <xsl:copy><xsl:apply-templates select="@* | node()"/></xsl:copy>
  </xsl:template>
  <xsl:template match="compound[@kind = 'namespace' and name = 'Qt']"/>
  <xsl:template match="compound[@kind = 'class' and (name = 'QObject'
      or name = 'QAbstractItemModel' or name = 'QAbstractTableModel' or name = 'QIODevice'
      or name = 'QProcess')]/member"/>
</xsl:stylesheet>
